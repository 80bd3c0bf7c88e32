// The C++ library asks this variable, which glibc has since 2.32, whether the process has a single thread and can do
// without atomic operations. A plug-in never can.
extern "C" {
extern char __libc_single_threaded;
char __libc_single_threaded = 0;
}
