# Cross build for 64-bit Arm with Debian's cross compiler and its arm64 multiarch packages; tests run
# through user-mode emulation. The preset chooses the emulated processor: one that authenticates
# pointers by a cipher of its own, as Arm allows. The architecture's, computed step by step in each
# function that is called, made tests take four times as long.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64-static)
# Headers are shared between the architectures; libraries are found by their architecture's folder.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/aarch64-linux-gnu/pkgconfig:/usr/share/pkgconfig)
