#include "VolumeTree.h"

#include <QtGlobal>

#include <algorithm>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ferrolt {

namespace {

constexpr int folderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

std::string nameOf(const std::string &path) {
    return path.substr(path.rfind('/') + 1);
}

}  // namespace

bool VolumeTree::enterParentOf(const std::string &path) {
    Q_ASSERT(!path.empty() && path.front() != '/' && path.back() != '/');
    const std::size_t slash = path.rfind('/');
    const std::string parent = slash == std::string::npos ? std::string() : path.substr(0, slash);
    if (entered.isValid() && parent == enteredPath)
        return true;
    FileDescriptor folder(openat(root.get(), ".", folderFlags));
    for (std::size_t start = 0; folder.isValid() && start < parent.size();) {
        const std::size_t end = std::min(parent.find('/', start), parent.size());
        folder = FileDescriptor(openat(folder.get(), parent.substr(start, end - start).c_str(), folderFlags));
        start = end + 1;
    }
    entered = std::move(folder);
    enteredPath = parent;
    return entered.isValid();
}

bool VolumeTree::addFolder(const std::string &path) {
    return enterParentOf(path) && mkdirat(entered.get(), nameOf(path).c_str(), S_IRWXU) == 0;
}

FileDescriptor VolumeTree::createFile(const std::string &path) {
    if (!enterParentOf(path))
        return {};
    constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    return FileDescriptor(openat(entered.get(), nameOf(path).c_str(), flags, S_IRUSR | S_IWUSR));
}

bool VolumeTree::addLink(const std::string &path, const std::string &target) {
    return enterParentOf(path) && symlinkat(target.c_str(), entered.get(), nameOf(path).c_str()) == 0;
}

bool VolumeTree::setPermissions(const std::string &path, mode_t permissions) {
    if (!enterParentOf(path))
        return false;
    const FileDescriptor folder(openat(entered.get(), nameOf(path).c_str(), folderFlags));
    return folder.isValid() && fchmod(folder.get(), permissions) == 0;
}

}  // namespace ferrolt
