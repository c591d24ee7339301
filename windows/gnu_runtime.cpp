// The GNU run-time library is linked into the module. It assumes that it is loaded for the whole process;
// here it is loaded and unloaded with the module.

#include <exception>

namespace __gnu_cxx {
void __freeres(); // NOLINT: a function of the run-time library for memory checkers, not declared in its
                  // headers
}

namespace {

/// Allocates the data that the thread needs for exceptions. Otherwise the first exception would allocate it,
/// and the run-time library ends the process if memory has run out.
struct ExceptionsOfThread {
    ExceptionsOfThread() { static_cast<void>(std::uncaught_exceptions()); }
    ~ExceptionsOfThread() { __gnu_cxx::__freeres(); } // releases the reserve for exceptions without memory
} const exceptionsOfThread;

} // namespace
