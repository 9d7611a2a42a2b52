# VORDA_SANITIZER=address or thread instruments the whole build, dependencies
# compiled here included, so that a report names the real culprit.
set(VORDA_SANITIZER "" CACHE STRING "Sanitizer for the whole build: address, thread or empty")
set_property(CACHE VORDA_SANITIZER PROPERTY STRINGS "" address thread)

if(VORDA_SANITIZER STREQUAL "address")
  add_compile_options(-fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=address,undefined)
elseif(VORDA_SANITIZER STREQUAL "thread")
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
  add_link_options(-fsanitize=thread)
elseif(NOT VORDA_SANITIZER STREQUAL "")
  message(FATAL_ERROR "Unknown VORDA_SANITIZER '${VORDA_SANITIZER}'")
endif()
