# 64-bit Arm from another machine, by Debian's cross compiler and its arm64 packages, which stand beside those of the
# machine itself: headers in /usr/include/aarch64-linux-gnu, libraries in /usr/lib/aarch64-linux-gnu.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)

# What was installed by hand is of this machine's architecture, and so is what pkg-config knows unless told otherwise.
list(APPEND CMAKE_IGNORE_PREFIX_PATH /usr/local)
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/aarch64-linux-gnu/pkgconfig:/usr/share/pkgconfig)
