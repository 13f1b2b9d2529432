# Cross-compiles for 64-bit Arm with Debian's cross compiler and arm64 packages, which are installed beside those of the
# machine itself: headers in /usr/include/aarch64-linux-gnu, libraries in /usr/lib/aarch64-linux-gnu.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)

# Libraries that were installed by hand have this machine's architecture, and so have those that pkg-config finds by
# default.
list(APPEND CMAKE_IGNORE_PREFIX_PATH /usr/local)
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/aarch64-linux-gnu/pkgconfig:/usr/share/pkgconfig)
