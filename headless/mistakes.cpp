#include "headless/mistakes.h"

namespace Headless {

namespace {

/// Never destroyed: a module may still make mistakes while the process ends.
std::vector<std::string>& noted = *new std::vector<std::string>;

} // namespace

const std::vector<std::string>& mistakes() {
    return noted;
}

void forgetMistakes() {
    noted.clear();
}

void noteMistake(const char* call) {
    noted.emplace_back(call);
}

} // namespace Headless
