#pragma once

#include <QCoreApplication>
#include <QTest>

/// A test program holds the test classes of a module; its first argument names the class to run, the others
/// are Qt Test's. Each class registers itself at the end of its source, by one of these macros.

namespace ferrolt {

using TestMain = int (*)(int argc, char **argv);

struct TestRegistration {
    /// A namespace before the name is left out.
    TestRegistration(const char *name, TestMain run) noexcept;
};

/// For a class that needs no event loop.
struct NoApplication {
    NoApplication(int &, char **) {}
};

template <class Test, class Application>
int runTestClass(int argc, char **argv) {
    QCoreApplication::setAttribute(Qt::AA_Use96Dpi);  // as QTEST_MAIN does: a text is as wide everywhere
    [[maybe_unused]] Application application(argc, argv);
    Test test;
    return QTest::qExec(&test, argc, argv);
}

}  // namespace ferrolt

/// TEST_CLASS(LogSearchTest, QApplication): the class is run with an application of that kind.
#define TEST_CLASS(Test, Application) \
    FERROLT_REGISTER_TEST(#Test, (&ferrolt::runTestClass<Test, Application>), __COUNTER__)

/// TEST_MAIN(ProcessTest) { ... }: the class is run by this function, which stands for main(int argc, char
/// **argv).
#define TEST_MAIN(Test)                                        \
    static int mainOf##Test(int argc, char **argv);            \
    FERROLT_REGISTER_TEST(#Test, (&mainOf##Test), __COUNTER__) \
    static int mainOf##Test(int argc, char **argv)

// A qualified name cannot be part of another name: the registrations are counted.
#define FERROLT_REGISTER_TEST(name, run, counter) FERROLT_REGISTER_COUNTED_TEST(name, run, counter)
#define FERROLT_REGISTER_COUNTED_TEST(name, run, counter) \
    static const ferrolt::TestRegistration testRegistration##counter(name, run);
