#pragma once

/// Fills the process's command line with the arguments of a main function. A relative
/// "outdir" is made absolute by the current directory, since the names of a job's files
/// would not have it otherwise.
void utl_loadArguments(int argc, char** argv);
