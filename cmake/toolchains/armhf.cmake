# For armhf on another architecture: the cross compiler of Debian (crossbuild-essential-armhf),
# the libraries of armhf beside the host's, and tests that run under the emulator of qemu-user.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/arm-linux-gnueabihf/pkgconfig:/usr/share/pkgconfig)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm)
# Otherwise the compiler notes at each container that GCC 7 passed some arguments in another way.
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)
