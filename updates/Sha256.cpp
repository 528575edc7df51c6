#include "Sha256.h"

#include "FileDescriptor.h"
#include "MainQueue.h"

#include <QByteArray>

#include <array>
#include <cerrno>
#include <memory>
#include <vector>

#include <fcntl.h>
#include <openssl/evp.h>
#include <unistd.h>

namespace ferrolt {

namespace {

constexpr std::size_t chunkSize = 1'048'576;

struct FreeContext {
    void operator()(EVP_MD_CTX *context) const { EVP_MD_CTX_free(context); }
};

}  // namespace

std::optional<QString> sha256OfFile(const std::filesystem::path &path) {
    assertNotMainThread();
    const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    const std::unique_ptr<EVP_MD_CTX, FreeContext> context(EVP_MD_CTX_new());
    if (!file.isValid() || !context || EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr) != 1)
        return std::nullopt;
    std::vector<char> buffer(chunkSize);
    while (true) {
        const ssize_t count = read(file.get(), buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return std::nullopt;
        if (count == 0)
            break;
        if (EVP_DigestUpdate(context.get(), buffer.data(), static_cast<std::size_t>(count)) != 1)
            return std::nullopt;
    }
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int size = 0;
    if (EVP_DigestFinal_ex(context.get(), digest.data(), &size) != 1)
        return std::nullopt;
    return QString::fromLatin1(
        QByteArray::fromRawData(reinterpret_cast<const char *>(digest.data()), size).toHex());
}

}  // namespace ferrolt
