#pragma once

/// Fills the process's command line with the arguments of a main function. A relative
/// "outdir" is made absolute by the current directory, since otherwise it would not be
/// part of the names of a job's files.
void utl_loadArguments(int argc, char** argv);
