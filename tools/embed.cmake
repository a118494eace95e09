# Writes the source OUT: of every function of NAMES, which gives the bytes of the file at
# the same place of FILES.
set(text "#include \"common/PageAssets.h\"\n")
foreach(name file IN ZIP_LISTS NAMES FILES)
  file(READ "${file}" bytes HEX)
  string(REGEX REPLACE "(..)" "0x\\1," bytes "${bytes}")
  string(APPEND text "
static const unsigned char k${name}[] = {${bytes}};
std::string_view ${name}() {
  return {reinterpret_cast<const char*>(k${name}), sizeof k${name}};
}
")
endforeach()
file(WRITE "${OUT}" "${text}")
