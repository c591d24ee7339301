#pragma once

#include <cstddef>
#include <iostream>

/// Prints how much a test has tried, for whoever runs it by hand: docs/reliability.md quotes these lines.
inline void printFigure(const char* what, std::size_t count) {
    std::cout << "[   figure ] " << what << ": " << count << '\n';
}
