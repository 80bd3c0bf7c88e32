#pragma once

// Included before all else in what is packaged. These functions moved between glibc's libraries in 2.34 and got a
// second version there; the first one lets the plug-ins load with glibc 2.29 and later.
asm(".symver pthread_mutexattr_init, pthread_mutexattr_init@GLIBC_2.2.5");
asm(".symver pthread_mutexattr_settype, pthread_mutexattr_settype@GLIBC_2.2.5");
asm(".symver pthread_mutexattr_destroy, pthread_mutexattr_destroy@GLIBC_2.2.5");
