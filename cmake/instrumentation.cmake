# What the whole build is compiled with beside its warnings: ccache where there
# is one, sanitizers on request, and otherwise the compiler's protections.
if(PROJECT_IS_TOP_LEVEL AND NOT DEFINED CMAKE_CXX_COMPILER_LAUNCHER)
  find_program(CONFIGSTORE_CCACHE ccache)
  if(CONFIGSTORE_CCACHE)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CONFIGSTORE_CCACHE})
  endif()
endif()

if(CONFIGSTORE_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
if(CONFIGSTORE_SANITIZE)
  add_compile_options(-fsanitize=${CONFIGSTORE_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${CONFIGSTORE_SANITIZE})
  if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    # Instrumented code leads this warning astray inside <regex>; plain builds keep it.
    add_compile_options(-Wno-maybe-uninitialized)
  else()
    add_compile_options(-fsanitize-ignorelist=${PROJECT_SOURCE_DIR}/cmake/sanitizer_ignorelist.txt)
  endif()
elseif(CONFIGSTORE_HARDENING)
  # Fortified calls need an optimising build.
  add_compile_options(-fstack-protector-strong "$<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
  add_link_options(-Wl,-z,relro,-z,now)
endif()
