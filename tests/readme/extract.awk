# Writes each C++ example of a page as OUT/NUMBER.cpp, and what it prints by the page, the
# console block behind it, as OUT/NUMBER.console. An example without a main function
# becomes the work of utl_runMain.

/^```cpp$/ { inCode = 1; ++number; code = includes = body = ""; next }
/^```console$/ { inConsole = 1; next }

inCode && /^```$/ {
  inCode = 0
  if (code !~ /int main\(/) {
    code = "#include \"utl/utl_runMain.h\"\n" includes \
      "static void Work(const utl_CommandLine&) {\n" body "}\n" \
      "int main(int argc, char** argv) { return utl_runMain(\"example\", argc, argv, Work); }\n"
  }
  printf "%s", code >(OUT "/" number ".cpp")
  next
}
inConsole && /^```$/ { inConsole = 0; next }

inCode { code = code $0 "\n" }
inCode && /^#include/ { includes = includes $0 "\n" }
inCode && !/^#include/ { body = body $0 "\n" }
inConsole { print >(OUT "/" number ".console") }
