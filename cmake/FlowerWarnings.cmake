# Warning set for every target the project compiles.
function(flower_set_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wshadow)
  if(FLOWER_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()
