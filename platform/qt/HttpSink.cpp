#include "HttpSink.h"

#include <QFile>

#include <system_error>
#include <utility>

namespace ferrolt {

namespace fs = std::filesystem;
using Error = HttpReply::Error;

Error HttpMemorySink::accept(const char *bytes, std::int64_t count) {
    if (body.size() + count > HttpSession::largestBody) {
        body.clear();
        return Error::TooLarge;
    }
    body.append(bytes, count);
    return Error::None;
}

HttpFileSink::HttpFileSink(fs::path destination, std::int64_t largest)
    : destination(std::move(destination)),
      left(largest),
      file(QFile::decodeName(this->destination.c_str()) + QStringLiteral(".XXXXXX")) {}

bool HttpFileSink::open() {
    return file.isOpen() || file.open();
}

Error HttpFileSink::accept(const char *bytes, std::int64_t count) {
    if (count > left)
        return Error::TooLarge;
    left -= count;
    return open() && file.write(bytes, count) == count ? Error::None : Error::File;
}

Error HttpFileSink::keep() {
    // A full disk may show only when the last bytes leave the buffer.
    if (!open() || !file.flush())
        return Error::File;
    const fs::path temporary = QFile::encodeName(file.fileName()).toStdString();
    std::error_code failure;
    fs::remove_all(destination, failure);
    fs::rename(temporary, destination, failure);
    if (failure)
        return Error::File;
    file.setAutoRemove(false);
    return Error::None;
}

}  // namespace ferrolt
