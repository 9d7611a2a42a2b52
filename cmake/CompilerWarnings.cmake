# Every target of the project compiles with the same strict warnings, as errors.
function(vorda_target_warnings target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Werror
    -Wshadow -Wnon-virtual-dtor -Wold-style-cast -Wcast-align
    -Woverloaded-virtual -Wnull-dereference -Wimplicit-fallthrough)
endfunction()
