/* The library for programs in C, and for all other languages and compilers: C functions
 * are what every linker takes.
 *
 *     #include "utl/utl_c.h"
 *
 *     int main(int argc, char** argv) {
 *       double loads[2] = {1.5, -2.0};
 *       kst_Sections* file = NULL;
 *       kst_start(argc, argv);
 *       if (kst_openSections("job.kdb", kst_Write, &file) != kst_Ok ||
 *           kst_setSection(file, "loads", loads, sizeof loads) != kst_Ok ||
 *           kst_saveSections(file) != kst_Ok ||
 *           kst_getSection(file, "loads", loads, sizeof loads) != kst_Ok ||
 *           kst_closeSections(file) != kst_Ok) {
 *         fprintf(stderr, "%s\n", kst_lastError());
 *         kst_end();
 *         return 1;
 *       }
 *       return kst_end() == kst_Ok && loads[1] == -2.0 ? 0 : 1;
 *     }
 *
 * Every function but kst_lastError answers with a status. Unless it is kst_Ok, what the
 * function was to set is unchanged, except where stated, and kst_lastError says in words
 * what was wrong. No C++ exception comes out of any function.
 *
 * Texts end with a zero byte and are bytes in the system's encoding. A null pointer in
 * place of a text, of a handle or of a variable to be set gives kst_BadArgument.
 *
 * A text is copied to the caller's `buffer` of `size` bytes, and its length without the
 * zero byte goes to `length`, which may be null. If the text and its zero byte do not
 * fit, the status is kst_WrongSize, the buffer is unchanged, and `length` is still set. A
 * null buffer of size 0 asks for the length alone.
 *
 * Handles (kst_Sections*, kst_File*) belong to the caller, who closes each one once. One
 * that was closed, or is none, gives kst_BadHandle and never does harm.
 *
 * Threads: one handle by one thread at a time, start, end and marks by the main thread,
 * all else by any. The sources of C++ programs, and the classes behind these functions,
 * are explained in the other headers. */

#pragma once

#include <stddef.h>
#include <stdint.h>

#include "KSTutl_export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The result of a call. The numbers will not change. */
typedef enum kst_Status {
  kst_Ok = 0,
  kst_BadArgument = 1, /* null, out of range, or of no meaning */
  kst_NotStarted = 2,  /* before kst_start or after kst_end */
  kst_BadHandle = 3,   /* the handle was closed, or is none of this kind */
  kst_NotFound = 4,    /* no such option, argument, section or file */
  kst_WrongSize = 5,   /* the caller's memory is not of the size that is needed */
  kst_BadValue = 6,    /* an option's value is no whole number */
  kst_Damaged = 7,     /* the contents of a file, or it is of another kind */
  kst_Locked = 8,      /* another writer is at work, or left its lock behind */
  kst_SystemError = 9, /* the system refused */
  kst_NoMemory = 10,
  kst_ReadOnly = 11, /* the handle was opened for reading */
  kst_Failed = 12    /* anything else */
} kst_Status;

/* One or more lines that say why the last failed call of this thread failed, with its
 * name:
 *
 *     kst_getSection: there is no section "loads"
 *
 * "" when none has failed. At most 1023 bytes; longer texts are cut. The text is the
 * thread's own and stays until its next failed call. Never null. */
KSTUTL_EXPORT const char* kst_lastError(void);

/* Start and end */

/* Starts the library, and loads the command line from what main was given; with argc 0,
 * where argv may be null, there is no command line. The value of an option "outdir" is
 * made absolute by the current directory. Starts may be nested, each with a kst_end of
 * its own: only the first one does something, and its command line counts.
 *
 * kst_BadArgument when argc is negative, or argv or one of the arguments is null; nothing
 * is then started. */
KSTUTL_EXPORT kst_Status kst_start(int argc, char** argv);

/* Ends what the first kst_start began, at the call that matches it: closes the handles
 * that are still open, ends the logs and the tracker, and then the library. Sections that
 * were set and not saved are lost.
 *
 * kst_NotStarted when there is nothing to end; the status of a handle that could not be
 * closed, although all is ended. */
KSTUTL_EXPORT kst_Status kst_end(void);

/* Version and paths */

/* The release of the library: 6, 6, 7 for 6.6-7. */
KSTUTL_EXPORT kst_Status kst_version(int* major, int* minor, int* update);

/* The same as a text, "6.6-7". */
KSTUTL_EXPORT kst_Status kst_versionText(char* buffer, size_t size, size_t* length);

/* The path of the job's file with this ending, from the options "job" and "outdir":
 * "Z:\out\beam.dat" for ".dat". kst_NotFound when there is no option "job". */
KSTUTL_EXPORT kst_Status kst_jobFileName(const char* ending, char* buffer, size_t size,
                                         size_t* length);

/* A path of the library in the form of the system, for fopen and for people: on Linux
 * "/out/beam.dat" for "Z:\out\beam.dat", on Windows the same text. All functions here
 * take either form. */
KSTUTL_EXPORT kst_Status kst_nativePath(const char* path, char* buffer, size_t size,
                                        size_t* length);

/* The command line: prog -job beam -interactive -cpus 4
 *
 * An argument that begins with "-" names an option, and the argument after it is the
 * option's value unless that begins with "-" too. Names are given without their "-";
 * letter case counts. */

/* Sets `isThere` to 1 when the option was given, with or without a value, and else to 0.
 */
KSTUTL_EXPORT kst_Status kst_hasOption(const char* name, int* isThere);

/* The option's value, "" when it was given without one. kst_NotFound when it was not. */
KSTUTL_EXPORT kst_Status kst_option(const char* name, char* buffer, size_t size,
                                    size_t* length);

/* The option's value as a number; 0 when it was given without one. kst_NotFound when it
 * was not, so that the earlier content of `value` is the default:
 *
 *     int64_t cpus = 1;
 *     kst_optionNumber("cpus", &cpus);
 *
 * kst_BadValue when it has anything but digits, or does not fit. */
KSTUTL_EXPORT kst_Status kst_optionNumber(const char* name, int64_t* value);

/* The number of all arguments, the program's name included. */
KSTUTL_EXPORT kst_Status kst_argumentCount(size_t* count);

/* Argument number `index`, from 0 on, as it was given. kst_NotFound when there is none.
 */
KSTUTL_EXPORT kst_Status kst_argument(size_t index, char* buffer, size_t size,
                                      size_t* length);

/* How a file is opened. Such arguments are plain numbers to the compiler; a wrong one
 * gives kst_BadArgument. */
typedef enum kst_Access {
  kst_Read = 0,   /* an existing file, for reading */
  kst_Update = 1, /* an existing file, for reading and writing */
  kst_Write = 2   /* the same; the file is made, or emptied if it exists */
} kst_Access;

/* Sections: named blocks of bytes in one file, each with a checksum */

typedef struct kst_Sections kst_Sections;

/* Opens a file of sections. Between kst_Update or kst_Write and closing it is locked: the
 * file `path`.lock says so to other writers. A program that ends without kst_end leaves
 * it behind. With kst_Write the file is emptied before a lock that was left behind is
 * met.
 *
 * kst_NotFound when there is no such file, kst_Locked when another writer is at work or
 * has left its lock behind, kst_Damaged when it is no file of sections, kst_SystemError.
 */
KSTUTL_EXPORT kst_Status kst_openSections(const char* path, int access,
                                          kst_Sections** sections);

/* Unlocks and closes. Does not save: what was set since the last save is lost. The handle
 * is invalid afterwards, whatever the status. */
KSTUTL_EXPORT kst_Status kst_closeSections(kst_Sections* sections);

/* Puts everything that was set into the file, atomically: whatever happens, the path
 * names the whole old file or the whole new one, which is another file of the same name
 * (utl_MultisectionFile::saveChangesAtomically). Until then nothing of it is in the file.
 */
KSTUTL_EXPORT kst_Status kst_saveSections(kst_Sections* sections);

/* The same by writing over the file, which stays the same file for those who have it
 * open, but can be lost when that fails (utl_MultisectionFile::saveChanges). */
KSTUTL_EXPORT kst_Status kst_saveSectionsInPlace(kst_Sections* sections);

/* Sets `isThere` to 1 when there is a section of this name, saved or only set, else to 0.
 */
KSTUTL_EXPORT kst_Status kst_hasSection(kst_Sections* sections, const char* name,
                                        int* isThere);

/* The section's length in bytes. kst_NotFound; kst_Damaged when the file gives no
 * possible length. In a damaged file it may be more than the file has. */
KSTUTL_EXPORT kst_Status kst_sectionSize(kst_Sections* sections, const char* name,
                                         size_t* size);

/* Copies the section to `data`, and compares its checksum. `size` is the section's length
 * exactly, else kst_WrongSize. kst_NotFound; kst_Damaged when the checksum is wrong or
 * the file ends before the section does: `data` may then hold any bytes. */
KSTUTL_EXPORT kst_Status kst_getSection(kst_Sections* sections, const char* name,
                                        void* data, size_t size);

/* Makes the section a copy of these bytes, up to 2,147,483,647 of them: in its old place,
 * or after all others when the name is new. `data` may be null when `size` is 0. They are
 * in the file after kst_saveSections. */
KSTUTL_EXPORT kst_Status kst_setSection(kst_Sections* sections, const char* name,
                                        const void* data, size_t size);

/* Calls `visit` for each section, in the order of the file, with its name, its length in
 * bytes (in a damaged file perhaps negative, or more than it has), and `context`, which
 * is the caller's and may be null. A `visit` that gives anything but 0 is not called
 * again. It may call any function, of this file of sections too; what it sets is not
 * visited.
 *
 *     static int Print(const char* name, int64_t size, void* context) {
 *       return fprintf(context, "%s: %d bytes\n", name, (int)size) < 0;
 *     }
 *     kst_visitSections(file, &Print, stdout); */
typedef int (*kst_SectionVisitor)(const char* name, int64_t size, void* context);
KSTUTL_EXPORT kst_Status kst_visitSections(kst_Sections* sections,
                                           kst_SectionVisitor visit, void* context);

/* Files */

typedef struct kst_File kst_File;

/* What others may do meanwhile, in any process. */
typedef enum kst_Sharing {
  kst_ShareDefault = 0,  /* a reader lets read and write, a writer lets read */
  kst_ShareRead = 1,     /* read */
  kst_ShareReadWrite = 2 /* read and write */
} kst_Sharing;

/* Opens a file. kst_NotFound when it does not exist, kst_Locked when others that have it
 * open do not permit that, kst_SystemError for all else, a missing directory included. */
KSTUTL_EXPORT kst_Status kst_openFile(const char* path, int access, int sharing,
                                      kst_File** file);

/* Closes the file. The handle is invalid afterwards, whatever the status. */
KSTUTL_EXPORT kst_Status kst_closeFile(kst_File* file);

/* Reads `size` bytes, or all up to the end of the file if that comes before, and sets
 * `count` to their number. After a failure `buffer` may hold any bytes. */
KSTUTL_EXPORT kst_Status kst_readFile(kst_File* file, void* buffer, size_t size,
                                      size_t* count);

/* Writes all these bytes. After a failure some of them may have been written. On Linux a
 * write to a pipe without a reader, or beyond a limit of the file's size, ends the
 * process by a signal, unless the program ignores SIGPIPE and SIGXFSZ. */
KSTUTL_EXPORT kst_Status kst_writeFile(kst_File* file, const void* data, size_t size);

/* Moves to `offset` bytes from the start; an offset past the end is allowed. */
KSTUTL_EXPORT kst_Status kst_seekFile(kst_File* file, int64_t offset);

/* The position at which the next byte is read or written. */
KSTUTL_EXPORT kst_Status kst_filePosition(kst_File* file, int64_t* offset);

/* The file's size in bytes. */
KSTUTL_EXPORT kst_Status kst_fileSize(kst_File* file, int64_t* size);

/* Makes the file `size` bytes long, 4 at least; disk space for what is added is allocated
 * at once. The position does not change. */
KSTUTL_EXPORT kst_Status kst_resizeFile(kst_File* file, int64_t size);

/* Makes the system write everything to the disk. */
KSTUTL_EXPORT kst_Status kst_flushFile(kst_File* file);

/* Marks: what the program's phases use, in the logs that the environment asks for */

/* Begins the resource log JOB.use, if the environment has KES_RESOURCE_MONITOR, and makes
 * the I/O tracker, if it has KES_IO_TRACK. kst_end ends both. `job` is the path without
 * ".use", as kst_jobFileName gives it for "". */
KSTUTL_EXPORT kst_Status kst_openLogs(const char* job);

/* Writes a line with this label to the resource log and one to the tracker's totals. */
KSTUTL_EXPORT kst_Status kst_mark(const char* label);

/* Begins a phase of the program: `timer`, 0 to 19, runs until kst_endPhase, which marks
 * the phase by its name. Several may run at once, each with a timer of its own.
 * kst_BadArgument when the timer is out of range, or runs already or does not run. */
KSTUTL_EXPORT kst_Status kst_beginPhase(int timer, const char* name);
KSTUTL_EXPORT kst_Status kst_endPhase(int timer);

/* The I/O tracker: counts what the program reports about its files, if the environment
 * has KES_IO_TRACK. Otherwise reports do nothing, with kst_Ok. */

/* What identifies a file: the number of a descriptor or the address of a stream, or the
 * number of a Fortran unit. */
typedef enum kst_Table { kst_Descriptors = 0, kst_Units = 1 } kst_Table;

/* Sets `isTracking` to 1 when there is a tracker, else to 0. */
KSTUTL_EXPORT kst_Status kst_isTracking(int* isTracking);

/* Report that `key` stands for the file `path` from now on, and that it no longer does.
 */
KSTUTL_EXPORT kst_Status kst_trackOpen(int table, int64_t key, const char* path);
KSTUTL_EXPORT kst_Status kst_trackClose(int table, int64_t key);

/* Report one operation of so many bytes that took so many seconds. */
KSTUTL_EXPORT kst_Status kst_trackRead(int table, int64_t key, int64_t bytes,
                                       double seconds);
KSTUTL_EXPORT kst_Status kst_trackWrite(int table, int64_t key, int64_t bytes,
                                        double seconds);

/* What was counted for one file. */
typedef struct kst_Totals {
  int64_t reads, bytesRead;
  int64_t writes, bytesWritten; /* bytes are counted from tracking level 3 on */
  double readSeconds, writeSeconds;
} kst_Totals;

/* What was counted for the file. kst_NotFound when the key is unknown or there is no
 * tracker. */
KSTUTL_EXPORT kst_Status kst_trackTotals(int table, int64_t key, kst_Totals* totals);

#ifdef __cplusplus
}
#endif
