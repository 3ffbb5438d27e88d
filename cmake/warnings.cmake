# The warnings that this project's own code is held to.
add_library(configstore_warnings INTERFACE)
target_compile_options(configstore_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion -Wold-style-cast -Wcast-qual -Wformat=2
  -Wno-format-nonliteral -Wundef -Wunused -Wvla)
if(CONFIGSTORE_WERROR)
  target_compile_options(configstore_warnings INTERFACE -Werror)
endif()
