// The GNU run-time library is linked into the module. It expects to begin and end with the process; here it
// comes and goes with the module.

#include <exception>

namespace __gnu_cxx {
void __freeres(); // NOLINT: of the run-time library, for memory checkers, and declared in none of its headers
}

namespace {

/// What throwing needs of the thread is allocated when it is first asked for. That must not be when memory
/// has run out: the run-time library ends the process then.
struct ExceptionsOfThread {
    ExceptionsOfThread() { static_cast<void>(std::uncaught_exceptions()); }
    ~ExceptionsOfThread() { __gnu_cxx::__freeres(); } // the reserve for throwing without memory
} const exceptionsOfThread;

} // namespace
