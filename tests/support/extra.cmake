# A second shared library beside KSTutl, as the product has many: it shows that
# a process has one of everything, whichever module asks.
add_client_library(second_library ${program})

add_unload_test(ThrThreadExitTest.OutlivesTheUnloadingOfTheLibrary
  unload_client ${folder})
