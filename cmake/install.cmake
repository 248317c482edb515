# What `cmake --install` puts where: the programs in bin, the pixel library in a private folder that
# the programs find through their run path, the manual pages and the shell completion.
include(GNUInstallDirs)
set(TORNEL_PRIVATE_LIBDIR ${CMAKE_INSTALL_LIBDIR}/tornel)

# A program of the product: warnings, run path and installation.
function(tornel_program target)
    tornel_warnings(${target})
    set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN/../${TORNEL_PRIVATE_LIBDIR}")
    install(TARGETS ${target} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endfunction()
