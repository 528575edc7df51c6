#include "TestProgram.h"

#include <cstdio>
#include <map>
#include <string>

namespace ferrolt {

namespace {

std::map<std::string, TestMain> &testMains() {
    static std::map<std::string, TestMain> mains;
    return mains;
}

}  // namespace

TestRegistration::TestRegistration(const char *name, TestMain run) noexcept {
    const std::string qualified = name;
    testMains()[qualified.substr(qualified.rfind(':') + 1)] = run;
}

}  // namespace ferrolt

int main(int argc, char **argv) {
    const auto &mains = ferrolt::testMains();
    const auto found = argc > 1 ? mains.find(argv[1]) : mains.end();
    if (found == mains.end()) {
        for (const auto &[name, run] : mains)
            std::puts(name.c_str());
        return 2;
    }
    argv[1] = argv[0];
    return found->second(argc - 1, argv + 1);
}
