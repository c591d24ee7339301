#pragma once

#include <cstddef>
#include <iostream>

/// Prints how much a test has tried, as quoted by docs/reliability.md.
inline void printFigure(const char* what, std::size_t count) {
    std::cout << "[   figure ] " << what << ": " << count << '\n';
}
