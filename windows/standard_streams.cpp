// Linked into our programs: sets their standard streams to binary mode, so that bytes are not translated.

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
