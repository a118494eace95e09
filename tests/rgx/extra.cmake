# The engine itself, to compare with.
target_link_libraries(${program} PRIVATE kstutl_pcre2)
