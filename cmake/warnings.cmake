# Warning set shared by every target of the project.
function(tornel_warnings target)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
                                             -Wcast-align -Woverloaded-virtual -Wimplicit-fallthrough)
    if(TORNEL_WERROR)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
endfunction()
