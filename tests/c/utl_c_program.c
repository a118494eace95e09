/* utl_c_program TEST OPTIONS...: one of the tests below. Each first removes what an
 * earlier run has left in the current directory. Ends with status 1 if any check fails.
 */

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "utl/utl_c.h"

static int failures = 0;
static int argumentCount;
static char** arguments;

#define CHECK(condition)                                 \
  do {                                                   \
    if (!(condition)) {                                  \
      printf("line %d: not %s\n", __LINE__, #condition); \
      ++failures;                                        \
    }                                                    \
  } while (0)

/* The status of a call, and the text that goes with it. */
#define CHECK_FAILS(call, status, text) Expect((call), (status), (text), __LINE__)
#define CHECK_OK(call) Expect((call), kst_Ok, NULL, __LINE__)

static void Expect(kst_Status actual, kst_Status expected, const char* text, int line) {
  if (actual != expected) {
    printf("line %d: status %d instead of %d: %s\n", line, (int)actual, (int)expected,
           kst_lastError());
    ++failures;
  } else if (text != NULL && strcmp(kst_lastError(), text) != 0) {
    printf("line %d: %s\n instead of: %s\n", line, kst_lastError(), text);
    ++failures;
  }
}

static void Start(void) {
  CHECK_OK(kst_start(argumentCount, arguments));
}

static void End(void) {
  CHECK_OK(kst_end());
}

static const char kSections[] = "job.kdb";
static const char kLock[] = "job.kdb.lock";
static const char kFile[] = "some.dat";
static const double kLoads[3] = {1.5, -2.0, 1e300};

/* A new file with the sections "loads" and "none", which is empty, closed again. */
static void SaveSections(void) {
  kst_Sections* sections = NULL;
  CHECK_OK(kst_openSections(kSections, kst_Write, &sections));
  CHECK_OK(kst_setSection(sections, "loads", kLoads, sizeof kLoads));
  CHECK_OK(kst_setSection(sections, "none", NULL, 0));
  CHECK_OK(kst_saveSections(sections));
  CHECK_OK(kst_closeSections(sections));
}

static kst_Sections* Opened(int access) {
  kst_Sections* sections = NULL;
  CHECK_OK(kst_openSections(kSections, access, &sections));
  return sections;
}

static int IsThere(const char* name) {
  FILE* const file = fopen(name, "rb");
  if (file != NULL) {
    fclose(file);
  }
  return file != NULL;
}

/* Puts one byte into a file, or cuts the file to `size` if there is no byte. */
static void Damage(const char* name, long place, const char* byte) {
  static char bytes[1000];
  FILE* file = fopen(name, "rb");
  size_t count = fread(bytes, 1, sizeof bytes, file);
  fclose(file);
  if (byte != NULL) {
    bytes[place] = *byte;
  } else {
    count = (size_t)place;
  }
  file = fopen(name, "wb");
  fwrite(bytes, 1, count, file);
  fclose(file);
}

/* Whether a file has the text in it. */
static int Has(const char* name, const char* text) {
  static char bytes[20000];
  FILE* const file = fopen(name, "rb");
  if (file == NULL) {
    return 0;
  }
  bytes[fread(bytes, 1, sizeof bytes - 1, file)] = '\0';
  fclose(file);
  return strstr(bytes, text) != NULL;
}

/* Joins names and lengths; sees two sections at the most. */
static int Join(const char* name, int64_t size, void* context) {
  char* const seen = context;
  const size_t length = strlen(seen);
  snprintf(seen + length, 100 - length, "%s %d, ", name, (int)size);
  return strstr(seen, "none") != NULL;
}

/* Calls every function that needs the library started, each with good arguments; the
 * handles may be any. */
static void CheckAll(kst_Status status, const char* reason, kst_Sections* sections,
                     kst_File* file) {
  int number = 7;
  int64_t wide = 7;
  size_t size = 7;
  char text[100] = "as it was";
  kst_Totals totals;
  char expected[100];
#define CHECK_ONE(function, list)                                \
  snprintf(expected, sizeof expected, #function ": %s", reason); \
  CHECK_FAILS(function list, status, expected)
  if (status == kst_NotStarted) {
    CHECK_ONE(kst_end, ());
    CHECK_ONE(kst_version, (&number, &number, &number));
    CHECK_ONE(kst_versionText, (text, sizeof text, &size));
    CHECK_ONE(kst_jobFileName, (".dat", text, sizeof text, &size));
    CHECK_ONE(kst_nativePath, ("a", text, sizeof text, &size));
    CHECK_ONE(kst_hasOption, ("job", &number));
    CHECK_ONE(kst_option, ("job", text, sizeof text, &size));
    CHECK_ONE(kst_optionNumber, ("cpus", &wide));
    CHECK_ONE(kst_argumentCount, (&size));
    CHECK_ONE(kst_argument, (0, text, sizeof text, &size));
    CHECK_ONE(kst_openSections, (kSections, kst_Write, &sections));
    CHECK_ONE(kst_openFile, (kFile, kst_Write, kst_ShareDefault, &file));
    CHECK_ONE(kst_openLogs, ("beam"));
    CHECK_ONE(kst_mark, ("label"));
    CHECK_ONE(kst_beginPhase, (0, "phase"));
    CHECK_ONE(kst_endPhase, (0));
    CHECK_ONE(kst_isTracking, (&number));
    CHECK_ONE(kst_trackOpen, (kst_Units, 1, "a"));
    CHECK_ONE(kst_trackClose, (kst_Units, 1));
    CHECK_ONE(kst_trackRead, (kst_Units, 1, 1, 1.0));
    CHECK_ONE(kst_trackWrite, (kst_Units, 1, 1, 1.0));
    CHECK_ONE(kst_trackTotals, (kst_Units, 1, &totals));
  }
  if (sections != NULL) {
    CHECK_ONE(kst_closeSections, (sections));
    CHECK_ONE(kst_saveSections, (sections));
    CHECK_ONE(kst_saveSectionsInPlace, (sections));
    CHECK_ONE(kst_visitSections, (sections, &Join, text));
    CHECK_ONE(kst_hasSection, (sections, "loads", &number));
    CHECK_ONE(kst_sectionSize, (sections, "loads", &size));
    CHECK_ONE(kst_getSection, (sections, "loads", text, 1));
    CHECK_ONE(kst_setSection, (sections, "loads", text, 1));
  }
  if (file != NULL) {
    CHECK_ONE(kst_closeFile, (file));
    CHECK_ONE(kst_readFile, (file, text, sizeof text, &size));
    CHECK_ONE(kst_writeFile, (file, text, 1));
    CHECK_ONE(kst_seekFile, (file, 0));
    CHECK_ONE(kst_filePosition, (file, &wide));
    CHECK_ONE(kst_fileSize, (file, &wide));
    CHECK_ONE(kst_resizeFile, (file, 4));
    CHECK_ONE(kst_flushFile, (file));
  }
#undef CHECK_ONE
  CHECK(number == 7 && wide == 7 && size == 7);
  CHECK(strcmp(text, "as it was") == 0);
}

/* The tests. CMakeLists.txt finds them by their names. */

static void TestRefusesAllBeforeItsStartAndAfterItsEnd(void) {
  kst_Sections* sections;
  kst_File* file;
  CHECK(strcmp(kst_lastError(), "") == 0);
  CheckAll(kst_NotStarted, "kst_start has not been called", (kst_Sections*)&failures,
           (kst_File*)&failures);
  Start();
  SaveSections();
  sections = Opened(kst_Read);
  CHECK_OK(kst_openFile(kFile, kst_Write, kst_ShareDefault, &file));
  End();
  CheckAll(kst_NotStarted, "kst_start has not been called", sections, file);
  /* What was open then does not come back. */
  Start();
  CheckAll(kst_BadHandle, "sections is no open file of sections", sections, NULL);
  CheckAll(kst_BadHandle, "file is no open file", NULL, file);
  End();
}

static void TestNestsStartsAndEnds(void) {
  char other[] = "other";
  char* others[] = {other};
  size_t count = 0;
  Start();
  CHECK_OK(kst_start(1, others));
  CHECK_OK(kst_start(0, NULL));
  End();
  End();
  CHECK_OK(kst_argumentCount(&count)); /* those of the first start */
  CHECK(count == (size_t)argumentCount);
  End();
  CHECK_FAILS(kst_end(), kst_NotStarted, NULL);
  CHECK_OK(kst_start(1, others)); /* again, with others */
  CHECK_OK(kst_argumentCount(&count));
  CHECK(count == 1);
  End();
}

static void TestRefusesWrongArgumentsOfMain(void) {
  char program[] = "program";
  char* withNull[] = {program, NULL};
  int number;
  CHECK_FAILS(kst_start(-1, arguments), kst_BadArgument, "kst_start: argc is negative");
  CHECK_FAILS(kst_start(1, NULL), kst_BadArgument, "kst_start: argv is null");
  CHECK_FAILS(kst_start(2, withNull), kst_BadArgument, "kst_start: an argument is null");
  CHECK_FAILS(kst_version(&number, &number, &number), kst_NotStarted, NULL);
}

static void TestNamesNullArguments(void) {
  kst_Sections* sections;
  kst_File* file;
  int number = 7;
  int64_t wide = 7;
  size_t size = 7;
  char text[100];
  Start();
  SaveSections();
  sections = Opened(kst_Update);
  CHECK_OK(kst_openFile(kFile, kst_Write, kst_ShareDefault, &file));
#define CHECK_NULL(function, list, argument) \
  CHECK_FAILS(function list, kst_BadArgument, #function ": " argument " is null")
  CHECK_NULL(kst_version, (NULL, &number, &number), "major");
  CHECK_NULL(kst_version, (&number, NULL, &number), "minor");
  CHECK_NULL(kst_version, (&number, &number, NULL), "update");
  CHECK_NULL(kst_versionText, (NULL, 9, &size), "buffer");
  CHECK_NULL(kst_versionText, (NULL, 0, NULL), "buffer");
  CHECK_NULL(kst_jobFileName, (NULL, text, sizeof text, &size), "ending");
  CHECK_NULL(kst_jobFileName, (".dat", NULL, 9, &size), "buffer");
  CHECK_NULL(kst_nativePath, (NULL, text, sizeof text, &size), "path");
  CHECK_NULL(kst_nativePath, ("a", NULL, 9, &size), "buffer");
  CHECK_NULL(kst_hasOption, (NULL, &number), "name");
  CHECK_NULL(kst_hasOption, ("job", NULL), "isThere");
  CHECK_NULL(kst_option, (NULL, text, sizeof text, &size), "name");
  CHECK_NULL(kst_option, ("job", NULL, 9, &size), "buffer");
  CHECK_NULL(kst_optionNumber, (NULL, &wide), "name");
  CHECK_NULL(kst_optionNumber, ("cpus", NULL), "value");
  CHECK_NULL(kst_argumentCount, (NULL), "count");
  CHECK_NULL(kst_argument, (0, NULL, 9, &size), "buffer");
  CHECK_NULL(kst_openSections, (NULL, kst_Read, &sections), "path");
  CHECK_NULL(kst_openSections, (kSections, kst_Read, NULL), "sections");
  CHECK_NULL(kst_closeSections, (NULL), "sections");
  CHECK_NULL(kst_saveSections, (NULL), "sections");
  CHECK_NULL(kst_saveSectionsInPlace, (NULL), "sections");
  CHECK_NULL(kst_hasSection, (NULL, "loads", &number), "sections");
  CHECK_NULL(kst_hasSection, (sections, NULL, &number), "name");
  CHECK_NULL(kst_hasSection, (sections, "loads", NULL), "isThere");
  CHECK_NULL(kst_sectionSize, (NULL, "loads", &size), "sections");
  CHECK_NULL(kst_sectionSize, (sections, NULL, &size), "name");
  CHECK_NULL(kst_sectionSize, (sections, "loads", NULL), "size");
  CHECK_NULL(kst_getSection, (NULL, "loads", text, 1), "sections");
  CHECK_NULL(kst_getSection, (sections, NULL, text, 1), "name");
  CHECK_NULL(kst_getSection, (sections, "loads", NULL, sizeof kLoads), "data");
  CHECK_NULL(kst_setSection, (NULL, "loads", text, 1), "sections");
  CHECK_NULL(kst_setSection, (sections, NULL, text, 1), "name");
  CHECK_NULL(kst_setSection, (sections, "loads", NULL, 1), "data");
  CHECK_NULL(kst_openFile, (NULL, kst_Read, kst_ShareDefault, &file), "path");
  CHECK_NULL(kst_openFile, (kFile, kst_Read, kst_ShareDefault, NULL), "file");
  CHECK_NULL(kst_closeFile, (NULL), "file");
  CHECK_NULL(kst_readFile, (NULL, text, 1, &size), "file");
  CHECK_NULL(kst_readFile, (file, NULL, 1, &size), "buffer");
  CHECK_NULL(kst_readFile, (file, text, 1, NULL), "count");
  CHECK_NULL(kst_writeFile, (NULL, text, 1), "file");
  CHECK_NULL(kst_writeFile, (file, NULL, 1), "data");
  CHECK_NULL(kst_seekFile, (NULL, 0), "file");
  CHECK_NULL(kst_filePosition, (NULL, &wide), "file");
  CHECK_NULL(kst_filePosition, (file, NULL), "offset");
  CHECK_NULL(kst_fileSize, (NULL, &wide), "file");
  CHECK_NULL(kst_fileSize, (file, NULL), "size");
  CHECK_NULL(kst_resizeFile, (NULL, 4), "file");
  CHECK_NULL(kst_flushFile, (NULL), "file");
  CHECK_NULL(kst_openLogs, (NULL), "job");
  CHECK_NULL(kst_mark, (NULL), "label");
  CHECK_NULL(kst_beginPhase, (0, NULL), "name");
  CHECK_NULL(kst_isTracking, (NULL), "isTracking");
  CHECK_NULL(kst_trackOpen, (kst_Units, 1, NULL), "path");
  CHECK_NULL(kst_trackTotals, (kst_Units, 1, NULL), "totals");
#undef CHECK_NULL
  CHECK(number == 7 && wide == 7 && size == 7);
  CHECK_OK(kst_closeSections(sections));
  CHECK_OK(kst_closeFile(file));
  End();
}

static void TestTellsTheVersion(void) {
  int major = 0;
  int minor = 0;
  int update = 0;
  char text[20];
  char expected[40];
  Start();
  CHECK_OK(kst_version(&major, &minor, &update));
  CHECK_OK(kst_versionText(text, sizeof text, NULL));
  snprintf(expected, sizeof expected, "%d.%d-%d", major, minor, update);
  CHECK(major > 0 && strcmp(text, expected) == 0);
  End();
}

static void TestAsksTheCommandLine(void) {
  int isThere = -1;
  int64_t value = 9;
  size_t length = 0;
  char text[100];
  Start();
  CHECK_OK(kst_hasOption("interactive", &isThere));
  CHECK(isThere == 1);
  CHECK_OK(kst_hasOption("JOB", &isThere));
  CHECK(isThere == 0);
  CHECK_OK(kst_option("title", text, sizeof text, &length));
  CHECK(strcmp(text, "a long title") == 0 && length == 12);
  CHECK_OK(kst_option("interactive", text, sizeof text, &length));
  CHECK(strcmp(text, "") == 0 && length == 0);
  CHECK_FAILS(kst_option("absent", text, sizeof text, &length), kst_NotFound,
              "kst_option: Command line argument absent is required.");
  CHECK_FAILS(kst_optionNumber("absent", &value), kst_NotFound, NULL);
  CHECK(value == 9);
  CHECK_FAILS(kst_optionNumber("job", &value), kst_BadValue, NULL);
  CHECK(value == 9);
  CHECK_OK(kst_optionNumber("cpus", &value));
  CHECK(value == 4);
  CHECK_OK(kst_argumentCount(&length));
  CHECK(length == (size_t)argumentCount);
  CHECK_OK(kst_argument(1, text, sizeof text, NULL));
  CHECK(strcmp(text, arguments[1]) == 0);
  CHECK_FAILS(kst_argument(length, text, sizeof text, NULL), kst_NotFound,
              "kst_argument: there are not so many arguments");
  CHECK_FAILS(kst_argument((size_t)-1, text, sizeof text, NULL), kst_NotFound, NULL);
  End();
}

static void TestTakesNumbersAsLargeAsTheyFit(void) {
  static char program[] = "program", most[] = "-most", largest[] = "9223372036854775807",
              above[] = "-above", more[] = "9223372036854775808", far[] = "-far",
              much[] = "99999999999999999999999";
  char* line[] = {program, most, largest, above, more, far, much};
  int64_t value = 9;
  CHECK_OK(kst_start(7, line));
  CHECK_FAILS(kst_optionNumber("above", &value), kst_BadValue,
              "kst_optionNumber: the value of above is above 9223372036854775807");
  CHECK_FAILS(kst_optionNumber("far", &value), kst_BadValue, NULL);
  CHECK(value == 9);
  CHECK_OK(kst_optionNumber("most", &value));
  CHECK(value == INT64_MAX);
  End();
}

static void TestHandsTextsOutWholeOrNotAtAll(void) {
  char text[10] = "?????????";
  size_t length = 0;
  Start();
  CHECK_OK(kst_option("job", NULL, 0, &length)); /* asks for the length alone */
  CHECK(length == 4);
  length = 0;
  CHECK_FAILS(kst_option("job", text, 4, &length), kst_WrongSize,
              "kst_option: the buffer has 4 bytes, and 5 are needed");
  CHECK(length == 4 && strcmp(text, "?????????") == 0);
  CHECK_FAILS(kst_option("job", text, 0, NULL), kst_WrongSize, NULL);
  CHECK_OK(kst_option("job", text, 5, NULL));
  CHECK(memcmp(text, "beam\0????", 10) == 0);
  End();
}

static void TestFindsTheJobsFiles(void) {
  char path[1000];
  char native[1000];
  FILE* file;
  Start();
  CHECK_OK(kst_jobFileName(".dat", path, sizeof path, NULL));
  CHECK_OK(kst_nativePath(path, native, sizeof native, NULL));
  file = fopen(native, "wb");
  CHECK(file != NULL && fclose(file) == 0);
  CHECK(IsThere("beam.dat"));
  End();
}

static void TestTakesNamesThatAreNoUtf8(void) {
  static const char kName[] = "b\xe9ton.dat";
  kst_File* file;
  kst_Sections* sections;
  char native[100] = "";
  FILE* opened;
  int isThere = -1;
  Start();
  CHECK_OK(kst_nativePath(kName, native, sizeof native, NULL));
  CHECK(strcmp(native, kName) == 0);
  CHECK_OK(kst_openFile(kName, kst_Write, kst_ShareDefault, &file));
  CHECK_OK(kst_closeFile(file));
  opened = fopen(kName, "rb");
  CHECK(opened != NULL && fclose(opened) == 0);
  CHECK(remove(kName) == 0);
  CHECK_OK(kst_openSections(kSections, kst_Write, &sections));
  CHECK_OK(kst_setSection(sections, kName, "1", 1));
  CHECK_OK(kst_setSection(sections, "", "2", 1)); /* a name, too */
  CHECK_OK(kst_saveSections(sections));
  CHECK_OK(kst_hasSection(sections, kName, &isThere));
  CHECK(isThere == 1);
  CHECK_OK(kst_getSection(sections, "", native, 1));
  CHECK(native[0] == '2');
  CHECK_OK(kst_closeSections(sections));
  End();
}

static void TestKeepsSections(void) {
  kst_Sections* sections;
  double loads[3] = {0, 0, 0};
  size_t size = 7;
  int isThere = -1;
  Start();
  SaveSections();
  sections = Opened(kst_Update);
  CHECK_OK(kst_hasSection(sections, "loads", &isThere));
  CHECK(isThere == 1);
  CHECK_OK(kst_hasSection(sections, "Loads", &isThere));
  CHECK(isThere == 0);
  CHECK_OK(kst_sectionSize(sections, "loads", &size));
  CHECK(size == sizeof kLoads);
  CHECK_OK(kst_getSection(sections, "loads", loads, sizeof loads));
  CHECK(memcmp(loads, kLoads, sizeof loads) == 0);
  CHECK_OK(kst_sectionSize(sections, "none", &size));
  CHECK(size == 0);
  CHECK_OK(kst_getSection(sections, "none", NULL, 0));
  /* Set anew, saved in place, read again. */
  CHECK_OK(kst_setSection(sections, "loads", "four", 4));
  CHECK_OK(kst_saveSectionsInPlace(sections));
  /* And not saved. */
  CHECK_OK(kst_setSection(sections, "lost", "four", 4));
  CHECK_OK(kst_closeSections(sections));
  sections = Opened(kst_Read);
  CHECK_OK(kst_getSection(sections, "loads", loads, 4));
  CHECK(memcmp(loads, "four", 4) == 0);
  CHECK_OK(kst_hasSection(sections, "lost", &isThere));
  CHECK(isThere == 0);
  CHECK_OK(kst_closeSections(sections));
  End();
}

static int CloseIt(const char* name, int64_t size, void* context) {
  kst_Sections** const sections = context;
  (void)name;
  (void)size;
  CHECK_OK(kst_closeSections(*sections));
  *sections = NULL;
  return 1;
}

static void TestVisitsSectionsInTheirOrder(void) {
  kst_Sections* sections;
  char seen[100] = "";
  Start();
  SaveSections();
  sections = Opened(kst_Update);
  CHECK_OK(kst_setSection(sections, "third", "1", 1));
  CHECK_OK(kst_visitSections(sections, &Join, seen));
  CHECK(strcmp(seen, "loads 24, none 0, ") == 0);
  CHECK_FAILS(kst_visitSections(sections, NULL, seen), kst_BadArgument,
              "kst_visitSections: visit is null");
  CHECK_OK(kst_visitSections(sections, &CloseIt, &sections));
  CHECK_FAILS(kst_visitSections(sections, &Join, seen), kst_BadArgument,
              "kst_visitSections: sections is null");
  Damage(kSections, 24, "\xff"); /* the last byte of the length of "loads" */
  sections = Opened(kst_Read);
  seen[0] = '\0';
  CHECK_OK(kst_visitSections(sections, &Join, seen));
  CHECK(strcmp(seen, "loads -16777192, none 0, ") == 0);
  CHECK_OK(kst_closeSections(sections));
  End();
}

static void TestRefusesAbsentSectionsAndWrongSizes(void) {
  kst_Sections* sections;
  char bytes[100] = "as it was";
  size_t size = 7;
  Start();
  SaveSections();
  sections = Opened(kst_Update);
  CHECK_FAILS(kst_getSection(sections, "absent", bytes, 1), kst_NotFound,
              "kst_getSection: there is no section \"absent\"");
  CHECK_FAILS(kst_sectionSize(sections, "absent", &size), kst_NotFound,
              "kst_sectionSize: there is no section \"absent\"");
  CHECK_FAILS(kst_getSection(sections, "", bytes, 0), kst_NotFound, NULL);
  CHECK_FAILS(kst_getSection(sections, "loads", bytes, 23), kst_WrongSize,
              "kst_getSection: section \"loads\" has 24 bytes, not 23");
  CHECK_FAILS(kst_getSection(sections, "loads", bytes, sizeof bytes), kst_WrongSize,
              NULL);
  CHECK_FAILS(kst_getSection(sections, "none", bytes, 1), kst_WrongSize, NULL);
  CHECK_FAILS(kst_setSection(sections, "huge", bytes, (size_t)INT32_MAX + 1),
              kst_BadArgument, "kst_setSection: size is above 2147483647");
  CHECK_FAILS(kst_setSection(sections, "huge", bytes, (size_t)-1), kst_BadArgument, NULL);
  CHECK(strcmp(bytes, "as it was") == 0 && size == 7);
  CHECK_OK(kst_closeSections(sections));
  sections = Opened(kst_Read);
  CHECK_FAILS(kst_setSection(sections, "loads", bytes, 1), kst_ReadOnly,
              "kst_setSection: opened for reading");
  CHECK_FAILS(kst_saveSections(sections), kst_ReadOnly, NULL);
  CHECK_FAILS(kst_saveSectionsInPlace(sections), kst_ReadOnly, NULL);
  CHECK_OK(kst_closeSections(sections));
  End();
}

static void TestKeepsSecondWritersAway(void) {
  kst_Sections* first;
  kst_Sections* second = (kst_Sections*)&failures;
  FILE* file;
  Start();
  SaveSections();
  first = Opened(kst_Update);
  CHECK(IsThere(kLock));
  CHECK_FAILS(kst_openSections(kSections, kst_Update, &second), kst_Locked, NULL);
  CHECK_FAILS(kst_openSections(kSections, kst_Write, &second), kst_Locked, NULL);
  CHECK(second == (kst_Sections*)&failures);
  CHECK_OK(kst_closeSections(first));
  CHECK(!IsThere(kLock));
  file = fopen(kLock, "wb"); /* left behind by one that was killed */
  fclose(file);
  CHECK_FAILS(kst_openSections(kSections, kst_Update, &second), kst_Locked,
              "kst_openSections: \"job.kdb\": Cannot create the lock file.");
  remove(kLock);
  CHECK_OK(kst_closeSections(Opened(kst_Update)));
  End();
}

static void TestFindsDamage(void) {
  kst_Sections* sections = NULL;
  double loads[3];
  size_t size = 7;
  Start();
  SaveSections(); /* the header, "loads" from 12 on, "none" from 29 on, the data from 45
                   */
  Damage(kSections, 50, "!");
  sections = Opened(kst_Read);
  CHECK_FAILS(kst_getSection(sections, "loads", loads, sizeof loads), kst_Damaged,
              "kst_getSection: \"job.kdb\": Data corrupted in section \"loads\"");
  CHECK_OK(kst_closeSections(sections));
  Damage(kSections, 60, NULL); /* ends within the data */
  sections = Opened(kst_Read);
  CHECK_FAILS(kst_getSection(sections, "loads", loads, sizeof loads), kst_Damaged, NULL);
  CHECK_OK(kst_closeSections(sections));
  Damage(kSections, 24, "\xff"); /* the last byte of the length of "loads" */
  sections = Opened(kst_Read);
  CHECK_FAILS(kst_sectionSize(sections, "loads", &size), kst_Damaged,
              "kst_sectionSize: section \"loads\" has a negative length");
  CHECK_FAILS(kst_getSection(sections, "loads", loads, sizeof loads), kst_Damaged, NULL);
  CHECK_OK(kst_closeSections(sections));
  Damage(kSections, 20, NULL); /* ends within the directory */
  CHECK_FAILS(kst_openSections(kSections, kst_Read, &sections), kst_Damaged, NULL);
  Damage(kSections, 0, "!"); /* the tag */
  CHECK_FAILS(kst_openSections(kSections, kst_Read, &sections), kst_Damaged,
              "kst_openSections: \"job.kdb\": Invalid file type");
  CHECK_FAILS(kst_openSections(kSections, kst_Update, &sections), kst_Damaged, NULL);
  CHECK(!IsThere(kLock));
  Damage(kSections, 0, NULL);
  CHECK_FAILS(kst_openSections(kSections, kst_Read, &sections), kst_Damaged, NULL);
  CHECK(size == 7);
  End();
}

static void TestRefusesWhatCannotBeOpened(void) {
  kst_Sections* sections = NULL;
  kst_File* file = NULL;
  Start();
  CHECK_FAILS(kst_openSections("absent", kst_Read, &sections), kst_NotFound, NULL);
  CHECK_FAILS(kst_openSections("absent", kst_Update, &sections), kst_NotFound, NULL);
  CHECK_FAILS(kst_openSections("absent/in/here", kst_Write, &sections), kst_SystemError,
              NULL);
  CHECK_FAILS(kst_openSections("", kst_Read, &sections), kst_SystemError, NULL);
  CHECK_FAILS(kst_openSections(kSections, 3, &sections), kst_BadArgument,
              "kst_openSections: access is none of the three");
  CHECK_FAILS(kst_openFile("absent", kst_Read, kst_ShareDefault, &file), kst_NotFound,
              NULL);
  CHECK_FAILS(kst_openFile("absent/in/here", kst_Write, kst_ShareDefault, &file),
              kst_SystemError, NULL);
  CHECK_FAILS(kst_openFile(kFile, -1, kst_ShareDefault, &file), kst_BadArgument,
              "kst_openFile: access is none of the three");
  CHECK_FAILS(kst_openFile(kFile, kst_Write, 99, &file), kst_BadArgument,
              "kst_openFile: sharing is none of the three");
  CHECK(sections == NULL && file == NULL);
  End();
}

static void TestReadsAndWritesFiles(void) {
  kst_File* file;
  kst_File* other = NULL;
  char bytes[20] = "???????????????????";
  size_t count = 7;
  int64_t place = -1;
  Start();
  CHECK_OK(kst_openFile(kFile, kst_Write, kst_ShareDefault, &file));
  CHECK_FAILS(kst_openFile(kFile, kst_Write, kst_ShareDefault, &other), kst_Locked, NULL);
  CHECK_OK(kst_writeFile(file, "0123456789", 10));
  CHECK_OK(kst_writeFile(file, NULL, 0));
  CHECK_OK(kst_flushFile(file));
  CHECK_OK(kst_filePosition(file, &place));
  CHECK(place == 10);
  CHECK_OK(kst_seekFile(file, 7));
  CHECK_OK(kst_readFile(file, bytes, 2, &count));
  CHECK(count == 2 && memcmp(bytes, "78?", 3) == 0);
  CHECK_OK(kst_readFile(file, bytes, sizeof bytes, &count)); /* beyond the end */
  CHECK(count == 1 && memcmp(bytes, "98?", 3) == 0);
  CHECK_OK(kst_readFile(file, bytes, sizeof bytes, &count)); /* at the end */
  CHECK(count == 0);
  CHECK_OK(kst_readFile(file, NULL, 0, &count));
  CHECK_FAILS(kst_seekFile(file, -1), kst_SystemError, NULL);
  CHECK_OK(kst_seekFile(file, (int64_t)5 << 30)); /* behind the end */
  CHECK_OK(kst_filePosition(file, &place));
  CHECK(place == (int64_t)5 << 30);
  CHECK_OK(kst_fileSize(file, &place));
  CHECK(place == 10);
  CHECK_FAILS(kst_resizeFile(file, 3), kst_BadArgument,
              "kst_resizeFile: size is below 4");
  CHECK_OK(kst_resizeFile(file, 100));
  CHECK_OK(kst_fileSize(file, &place));
  CHECK(place == 100);
  CHECK_OK(kst_closeFile(file));
  CHECK_OK(kst_openFile(kFile, kst_Read, kst_ShareRead, &file));
  CHECK_FAILS(kst_writeFile(file, "a", 1), kst_ReadOnly,
              "kst_writeFile: opened for reading");
  CHECK_FAILS(kst_resizeFile(file, 4), kst_ReadOnly, NULL);
  CHECK_FAILS(kst_flushFile(file), kst_ReadOnly, NULL);
  CHECK_OK(kst_closeFile(file));
  End();
}

static void TestKnowsHandlesThatAreNone(void) {
  static const char kNoSections[] = "sections is no open file of sections";
  static const char kNoFile[] = "file is no open file";
  kst_Sections* sections;
  kst_Sections* again;
  kst_File* file;
  Start();
  SaveSections();
  sections = Opened(kst_Read);
  CHECK_OK(kst_openFile(kFile, kst_Write, kst_ShareDefault, &file));
  /* One kind for the other. */
  CheckAll(kst_BadHandle, kNoSections, (kst_Sections*)file, NULL);
  CheckAll(kst_BadHandle, kNoFile, NULL, (kst_File*)sections);
  /* An address that never was a handle. */
  CheckAll(kst_BadHandle, kNoSections, (kst_Sections*)&failures, NULL);
  CheckAll(kst_BadHandle, kNoFile, NULL, (kst_File*)&failures);
  /* Closed, and so on after others have been opened: no handle comes twice. */
  CHECK_OK(kst_closeSections(sections));
  CHECK_OK(kst_closeFile(file));
  CheckAll(kst_BadHandle, kNoSections, sections, NULL);
  CheckAll(kst_BadHandle, kNoFile, NULL, file);
  again = Opened(kst_Read);
  CHECK(again != sections);
  CheckAll(kst_BadHandle, kNoSections, sections, NULL);
  CHECK_OK(kst_closeSections(again));
  End();
}

static void TestClosesAtItsEndWhatIsOpen(void) {
  kst_Sections* sections;
  kst_File* file;
  Start();
  SaveSections();
  sections = Opened(kst_Update);
  CHECK_OK(kst_setSection(sections, "lost", "four", 4));
  CHECK_OK(kst_openFile(kFile, kst_Write, kst_ShareDefault, &file));
  CHECK(IsThere(kLock));
  End();
  CHECK(!IsThere(kLock));
  Start();
  sections = Opened(kst_Update);
  CHECK_FAILS(kst_sectionSize(sections, "lost", &(size_t){0}), kst_NotFound, NULL);
  CHECK_OK(kst_openFile(kFile, kst_Write, kst_ShareDefault, &file));
  End();
}

static void TestMarksPhases(void) {
  Start();
  CHECK_OK(kst_openLogs("beam"));
  CHECK_OK(kst_beginPhase(3, "assembly"));
  CHECK_OK(kst_beginPhase(19, "all"));
  CHECK_FAILS(kst_beginPhase(3, "other"), kst_BadArgument,
              "kst_beginPhase: the timer runs already, for assembly");
  CHECK_OK(kst_endPhase(3));
  CHECK_FAILS(kst_endPhase(3), kst_BadArgument, "kst_endPhase: the timer does not run");
  CHECK_OK(kst_mark("in between"));
  CHECK_FAILS(kst_beginPhase(20, "other"), kst_BadArgument,
              "kst_beginPhase: timer is not from 0 to 19");
  CHECK_FAILS(kst_endPhase(-1), kst_BadArgument,
              "kst_endPhase: timer is not from 0 to 19");
  CHECK_OK(kst_endPhase(19));
  CHECK(!Has("beam.use", "beam-End"));
  End();
  CHECK(Has("beam.use", "assembly") && Has("beam.use", "in between"));
  CHECK(Has("beam.use", "all") && !Has("beam.use", "other"));
  CHECK(Has("beam.use", "beam-End"));
}

static void TestMarksInTheTrackersTotals(void) {
  Start();
  CHECK_OK(kst_openLogs("beam"));
  CHECK_OK(kst_mark("solved"));
  CHECK_OK(kst_beginPhase(0, "assembly"));
  CHECK_OK(kst_endPhase(0));
  CHECK_OK(kst_beginPhase(0, "never done"));
  End();
  CHECK(Has("beam.ioTotal", "solved") && Has("beam.ioTotal", "assembly"));
  CHECK(!Has("beam.ioTotal", "never done"));
}

static void TestTakesARelativeOutdir(void) {
  static char program[] = "program", job[] = "-job", frame[] = "frame",
              outdir[] = "-outdir", here[] = ".", further[] = "sub";
  char* line[] = {program, job, frame, outdir, here};
  char path[1000];
  char native[1000];
  size_t length = 0;
  CHECK_OK(kst_start(5, line));
  CHECK_OK(kst_jobFileName(".dat", path, sizeof path, &length));
  CHECK(length > 12 && strcmp(path + length - 10, "\\frame.dat") == 0);
  CHECK_OK(kst_nativePath(path, native, sizeof native, NULL));
  CHECK(strchr(native, '.') == strrchr(native, '.')); /* resolved */
  End();
  line[4] = further;
  CHECK_OK(kst_start(5, line));
  CHECK_OK(kst_jobFileName(".dat", path, sizeof path, &length));
  CHECK(strcmp(path + length - 14, "\\sub\\frame.dat") == 0);
  CHECK(length > 16);
  End();
}

static void TestReportsToTheTracker(void) {
  kst_Totals totals;
  int isTracking = -1;
  Start();
  CHECK_OK(kst_isTracking(&isTracking));
  CHECK(isTracking == 1);
  CHECK_OK(kst_trackOpen(kst_Units, 12, "a.dat"));
  CHECK_OK(kst_trackOpen(kst_Descriptors, 12, "b.dat"));
  CHECK_OK(kst_trackWrite(kst_Units, 12, 100, 0.5));
  CHECK_OK(kst_trackWrite(kst_Units, 12, 100, 0.5));
  CHECK_OK(kst_trackRead(kst_Units, 12, 50, 0.25));
  CHECK_OK(kst_trackRead(kst_Descriptors, 12, 7, 0));
  CHECK_OK(kst_trackTotals(kst_Units, 12, &totals));
  CHECK(totals.writes == 2 && totals.bytesWritten == 200 && totals.writeSeconds == 1);
  CHECK(totals.reads == 1 && totals.bytesRead == 50 && totals.readSeconds == 0.25);
  CHECK_OK(kst_trackTotals(kst_Descriptors, 12, &totals));
  CHECK(totals.reads == 1 && totals.bytesRead == 7 && totals.writes == 0);
  CHECK_OK(kst_trackClose(kst_Units, 12));
  CHECK_FAILS(kst_trackTotals(kst_Units, 12, &totals), kst_NotFound,
              "kst_trackTotals: nothing is counted for this key");
  CHECK(totals.bytesRead == 7);
  CHECK_FAILS(kst_trackClose(2, 12), kst_BadArgument,
              "kst_trackClose: table is neither of the two");
  CHECK_OK(kst_mark("solved"));
  End();
  CHECK(Has("beam.ioFileSummary", "a.dat") && Has("beam.ioFileSummary", "b.dat"));
}

static void TestTracksNothingUnlessAsked(void) {
  kst_Totals totals;
  int isTracking = -1;
  Start();
  CHECK_OK(kst_isTracking(&isTracking));
  CHECK(isTracking == 0);
  CHECK_OK(kst_trackOpen(kst_Units, 12, "a.dat"));
  CHECK_OK(kst_trackWrite(kst_Units, 12, 100, 0.5));
  CHECK_FAILS(kst_trackWrite(-1, 12, 100, 0.5), kst_BadArgument, NULL);
  CHECK_FAILS(kst_trackTotals(kst_Units, 12, &totals), kst_NotFound, NULL);
  CHECK_OK(kst_openLogs("beam"));
  CHECK_OK(kst_mark("solved"));
  End();
  CHECK(!IsThere("beam.use"));
}

static const struct {
  const char* name;
  void (*test)(void);
} kTests[] = {
#define TEST(name) \
  { #name, &Test##name }
    TEST(RefusesAllBeforeItsStartAndAfterItsEnd),
    TEST(NestsStartsAndEnds),
    TEST(RefusesWrongArgumentsOfMain),
    TEST(NamesNullArguments),
    TEST(TellsTheVersion),
    TEST(AsksTheCommandLine),
    TEST(TakesNumbersAsLargeAsTheyFit),
    TEST(HandsTextsOutWholeOrNotAtAll),
    TEST(FindsTheJobsFiles),
    TEST(TakesNamesThatAreNoUtf8),
    TEST(KeepsSections),
    TEST(VisitsSectionsInTheirOrder),
    TEST(RefusesAbsentSectionsAndWrongSizes),
    TEST(KeepsSecondWritersAway),
    TEST(FindsDamage),
    TEST(RefusesWhatCannotBeOpened),
    TEST(ReadsAndWritesFiles),
    TEST(KnowsHandlesThatAreNone),
    TEST(ClosesAtItsEndWhatIsOpen),
    TEST(MarksPhases),
    TEST(MarksInTheTrackersTotals),
    TEST(TakesARelativeOutdir),
    TEST(ReportsToTheTracker),
    TEST(TracksNothingUnlessAsked)};

int main(int argc, char** argv) {
  static const char* const kLeftOvers[] = {
      kSections,     kLock, kFile, "beam.dat", "beam.use", "beam.ioFileSummary",
      "beam.ioTotal"};
  size_t i;
  argumentCount = argc;
  arguments = argv;
  for (i = 0; i < sizeof kLeftOvers / sizeof *kLeftOvers; ++i) {
    remove(kLeftOvers[i]);
  }
  for (i = 0; i < sizeof kTests / sizeof *kTests; ++i) {
    if (argc > 1 && strcmp(argv[1], kTests[i].name) == 0) {
      kTests[i].test();
      return failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
    }
  }
  printf("no such test\n");
  return EXIT_FAILURE;
}
