#pragma once

#include "cow/cow_String.h"
#include "KSTutl_export.h"

/// The absolute path of the job's file with `suffix`, which is appended as it is: for
/// job "beam" and directory `Z:\out`, ".dat" gives `Z:\out\beam.dat`.
///
/// The base name is the environment variable SUPAUXNAME, unless it is unset or begins
/// with a blank; then it is the command-line option "job". (Set to nothing, the variable
/// counts: the suffix alone is the name.) The directory is the option "outdir", or the
/// current one. Both are resolved by utl_FilePath, whose rules on threads hold.
///
/// Throws utl_MissingCmdLineArgException when the option "job" is needed and absent.
KSTUTL_EXPORT cow_String utl_JobFileName(cow_String suffix);
