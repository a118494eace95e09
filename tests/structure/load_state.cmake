# The library keeps no state that is made when it is loaded or destroyed when the process
# ends: other threads may still run its code then. NM: the tool; OBJECTS: the library's.
# (A sanitizer's or a coverage tool's own start functions begin with a number.)
execute_process(COMMAND "${NM}" -A ${OBJECTS}
  OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL
  "[^\n]* (_GLOBAL__(sub_)?[ID]_[^0\n][^\n]*|__cxa_atexit|__cxa_thread_atexit|atexit)\n"
  found "${symbols}")
# Handlers of fork that must be the first to be registered. They are no state.
list(FILTER found EXCLUDE REGEX "_GLOBAL__sub_I_posix_file\\.cpp")
if(found)
  list(JOIN found "" found)
  message(FATAL_ERROR "Made at load time or destroyed at exit:\n${found}")
endif()
