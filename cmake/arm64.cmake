# SPDX-License-Identifier: Apache-2.0
# Cross-build for ARM64 with Debian's compiler and the libraries of Debian's arm64 packages, which stand
# beside those of this machine. An emulator runs what is built: the loader and the C library are those of
# the arm64 packages as well, so it needs no root folder (qemu's -L). With that of the cross compiler's
# own C library, programs wait for ever where they make a thread.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64)
