# What "cmake --install" puts on a Linux system. udev reads rules below /usr and /usr/local.
include(GNUInstallDirs)
install(TARGETS VexoDeck RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
install(FILES "${CMAKE_SOURCE_DIR}/packaging/linux/70-vexo-deck.rules" DESTINATION lib/udev/rules.d)
