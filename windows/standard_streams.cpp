// Linked into our programs: their standard streams pass on the bytes that they get, as on every other system.

#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <initializer_list>

namespace {

bool passBytesOn() {
    for (std::FILE* const stream : {stdin, stdout, stderr}) _setmode(_fileno(stream), _O_BINARY);
    return true;
}

[[maybe_unused]] const bool areBytesPassedOn = passBytesOn();

} // namespace
