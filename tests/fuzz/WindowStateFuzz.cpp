#include "Expect.h"
#include "FuzzInput.h"
#include "WindowState.h"

#include <QFile>
#include <QJsonValue>
#include <QTemporaryDir>

#include <cmath>
#include <limits>

using namespace ferrolt;

namespace {

void write(const QString &path, const QByteArray &contents) {
    QFile file(path);
    expect(file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(contents) == contents.size());
}

/// What holds for every state that is read, whatever the file says.
bool isSane(const WindowState &state) {
    const auto isLength = [](int pixels) { return pixels >= 1 && pixels <= 32768; };
    return isLength(state.size.width()) && isLength(state.size.height()) && isLength(state.sidebarWidth) &&
           state.upperLogShare > 0 && state.upperLogShare < 1;
}

/// A value of a window's state: what the file says, and what it stands for.
struct Entry {
    QByteArray text;  ///< empty if it is missing
    double number = std::numeric_limits<double>::quiet_NaN();
    bool isTrue = false;
};

Entry entryFrom(FuzzInput &input) {
    static const char *const otherTypes[] = {"null", "\"700\"", "[700]", "{}", "{\"width\":700}", "false"};
    const auto of = [](double number) { return Entry{QByteArray::number(number, 'g', 17), number}; };
    const auto wide = [&] {
        return static_cast<double>(static_cast<int>(input.below(1U << 20U)) - (1 << 18));
    };
    switch (input.below(8)) {
        case 0:
            return {};
        case 1:
            return {"true", std::numeric_limits<double>::quiet_NaN(), true};
        case 2:
            return {otherTypes[input.below(std::size(otherTypes))]};
        case 3:
            return of(wide() / 1024);
        case 4:  // from the smallest number to the largest
            return of(std::ldexp(wide(), static_cast<int>(input.below(2000)) - 1000));
        case 5:  // about the limits
            return of(static_cast<double>(input.below(5)) - 2 + (input.below(2) == 0 ? 32768 : 0));
        case 6:
            return of(static_cast<double>(input.below(1U << 16U)) / 65536);
        default:
            return of(static_cast<double>(input.below(1U << 16U)));
    }
}

int pixelsOf(const Entry &entry, int initial) {
    const bool isPixels =
        entry.number >= 1 && entry.number <= 32768 && std::floor(entry.number) == entry.number;
    return isPixels ? static_cast<int>(entry.number) : initial;
}

/// A file with one entry of each name, in any order of the bits that `order` has, and the state that it
/// stands for by the plain rule.
void compare(FuzzInput &input, const QString &path) {
    const Entry width = entryFrom(input);
    const Entry height = entryFrom(input);
    const Entry maximized = entryFrom(input);
    const Entry sidebar = entryFrom(input);
    const Entry share = entryFrom(input);
    QByteArray text;
    const auto add = [&text](const char *name, const Entry &entry) {
        if (!entry.text.isEmpty())
            text += (text.isEmpty() ? "\"" : ",\"") + QByteArray(name) + "\":" + entry.text;
    };
    add("width", width);
    add("height", height);
    add("maximized", maximized);
    add("sidebarWidth", sidebar);
    add("upperLogShare", share);
    write(path, '{' + text + '}');

    const WindowState initial;
    WindowState expected;
    expected.size = {pixelsOf(width, initial.size.width()), pixelsOf(height, initial.size.height())};
    expected.isMaximized = maximized.isTrue;
    expected.sidebarWidth = pixelsOf(sidebar, initial.sidebarWidth);
    expected.upperLogShare = share.number > 0 && share.number < 1 ? share.number : initial.upperLogShare;
    expect(WindowState::load(path) == expected);
}

}  // namespace

/// Reads states from any file, and from files whose meaning is known; what is read and written again is the
/// same.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("window.json"));
    FuzzInput input(data, size);
    if (input.below(2) == 0)
        write(path, input.rest());
    else
        compare(input, path);
    const WindowState state = WindowState::load(path);
    expect(isSane(state));
    state.save(path);
    expect(WindowState::load(path) == state);
    return 0;
}
