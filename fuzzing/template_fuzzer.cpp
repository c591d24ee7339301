// Whatever the bytes are, the template reader refuses them whole or understands them. A property that does
// not hold stops the fuzzer.
#include "tests/templates/template_properties.h"

#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string violated = violatedProperty(std::as_bytes(std::span(data, size)));
    if (violated.empty()) return 0;
    std::fprintf(stderr, "does not hold: %s\n", violated.c_str());
    std::abort();
}
