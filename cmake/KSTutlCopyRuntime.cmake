# kstutl_copy_runtime(TARGET) puts the library's DLL, and those of the compiler's run time
# that it needs, beside the program TARGET each time that is built, so that it starts where
# it was built. Does nothing where programs find their libraries otherwise.
function(kstutl_copy_runtime target)
  if(NOT WIN32)
    return()
  endif()
  get_target_property(library KSTutl::KSTutl ALIASED_TARGET)
  if(NOT library)
    set(library KSTutl::KSTutl)
  endif()
  get_target_property(names ${library} KSTUTL_RUNTIME)
  list(TRANSFORM names PREPEND "$<TARGET_FILE_DIR:KSTutl::KSTutl>/")
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND "${CMAKE_COMMAND}" -E copy_if_different
      "$<TARGET_FILE:KSTutl::KSTutl>" ${names} "$<TARGET_FILE_DIR:${target}>"
    VERBATIM)
endfunction()
