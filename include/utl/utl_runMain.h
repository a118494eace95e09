#pragma once

#include <functional>

#include "KSTutl_export.h"
#include "utl/utl_CommandLine.h"

/// The main function of a program that uses the library, around the program's own work:
///
///     static void Solve(const utl_CommandLine& line) {
///       std::cout << "job " << line.ConstGetValue("job") << '\n';
///     }
///
///     int main(int argc, char** argv) {
///       return utl_runMain("beam", argc, argv, Solve);
///     }
///
/// It starts the library, loads the arguments, opens the logs, calls `work` with the
/// command line, and ends logs and library whatever happened. The result is the exit
/// status: 0, or 1 when `work`, or anything before or after it, has thrown, or when
/// `stdout`, and so std::cout, could not be written. (The program itself flushes and
/// checks a std::cout that is not synchronised with it.)
///
/// A failure is reported on the standard error stream, in one line that begins with the
/// program's name: the text of the exception (UserReport() of a nex_Exception), in which
/// blanks replace line ends and other control characters. Where it helps, a second line
/// says what to do: about a lock file that was left behind, about the places where a
/// directory for temporary files was looked for, and about a file that cannot be written.
///
///     beam: "job.kdb": Cannot create the lock file.
///     beam: If no other program has the file open, remove /home/u/job.kdb.lock
///
/// Arguments: a relative "outdir" is made absolute by the current directory, since
/// otherwise it would not be part of the names of a job's files. Null as `program` is the
/// name "program"; with `argc` 0 there are no arguments. An empty `work` is a failure.
///
/// Logs: with the option "job" (or the variable SUPAUXNAME, see utl_JobFileName) the
/// resource monitor writes JOB.use and the I/O tracker its files, as far as the
/// environment asks for them. An empty name opens none.
///
/// Signals (Linux): a pipe whose reader has gone and a limit of a file's size make the
/// writing call fail and do not end the process: SIGPIPE and SIGXFSZ are ignored from now
/// on, by child processes too, unless the program has a handler of its own for them.
///
/// Throws nothing. A call inside the work of another is refused, which is a failure.
/// REQUIRES: argv[0] to argv[argc - 1] are terminated texts.
/// Threads: the main thread, and no other uses the library before or after.
KSTUTL_EXPORT int utl_runMain(const char* program, int argc, char** argv,
                              const std::function<void(const utl_CommandLine&)>& work);

/// For programs with a main function of their own: from now on an exception that nobody
/// catches, and std::terminate without one, is reported as utl_runMain reports it before
/// the process is aborted. `program` is copied; null is "program". A later call gives
/// another name. Threads: for start-up, one thread.
KSTUTL_EXPORT void utl_installTerminateHandler(const char* program);
