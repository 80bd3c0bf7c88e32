# Cross-builds for browsers with Debian's clang, lld and libc++ for WebAssembly.
set(CMAKE_SYSTEM_NAME Generic)
set(CMAKE_SYSTEM_PROCESSOR wasm32)
set(CMAKE_CXX_COMPILER clang++-16)
set(CMAKE_CXX_COMPILER_TARGET wasm32-wasi)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
set(CMAKE_CXX_FLAGS_INIT "-msimd128 -isystem /usr/include/wasm32-wasi/c++/v1")
set(CMAKE_HAVE_LIBC_PTHREAD TRUE)  # there is one thread, so threads need no library
