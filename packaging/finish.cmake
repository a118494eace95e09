# Takes out of the finished packages the scripts that call ldconfig, which CPack adds to
# every package with a library: the trigger does that.
foreach(package IN LISTS CPACK_PACKAGE_FILES)
  set(folder "${package}.content")
  foreach(command "-R;${package};${folder}" "--root-owner-group;-Zxz;-b;${folder};${package}")
    execute_process(COMMAND dpkg-deb ${command} OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
    file(REMOVE "${folder}/DEBIAN/postinst" "${folder}/DEBIAN/postrm")
  endforeach()
  file(REMOVE_RECURSE "${folder}")
endforeach()
