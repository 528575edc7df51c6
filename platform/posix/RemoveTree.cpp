#include "RemoveTree.h"

#include "FileDescriptor.h"

#include <memory>
#include <string>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ferrolt {

namespace {

struct CloseDirectory {
    void operator()(DIR *directory) const { closedir(directory); }
};

/// The names in an open folder.
std::vector<std::string> namesIn(int folder) {
    std::vector<std::string> names;
    // A new descriptor: closedir() closes the one that it gets, and a duplicate would share the read
    // position.
    const int again = openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (again < 0)
        return names;
    const std::unique_ptr<DIR, CloseDirectory> directory(fdopendir(again));
    if (!directory) {
        ::close(again);
        return names;
    }
    while (const dirent *entry = readdir(directory.get())) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..")
            names.push_back(name);
    }
    return names;
}

FileDescriptor openFolder(int parent, const char *name) {
    constexpr int flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    FileDescriptor folder(openat(parent, name, flags));
    if (!folder.isValid()) {
        // An application's folder may lack permissions for its owner too. Not for links: fchmodat() would
        // change the mode of the link's target.
        struct stat status {};
        if (fstatat(parent, name, &status, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISDIR(status.st_mode))
            return folder;
        if (fchmodat(parent, name, S_IRWXU, 0) != 0)
            return folder;
        folder = FileDescriptor(openat(parent, name, flags));
    }
    if (folder.isValid())
        fchmod(folder.get(), S_IRWXU);
    return folder;
}

void removeEntry(int parent, const char *name);

void emptyOpenFolder(int folder) {
    for (const std::string &name : namesIn(folder))
        removeEntry(folder, name.c_str());
}

void removeEntry(int parent, const char *name) {
    if (unlinkat(parent, name, 0) == 0)
        return;
    {
        const FileDescriptor folder = openFolder(parent, name);
        if (!folder.isValid())
            return;
        emptyOpenFolder(folder.get());
    }
    unlinkat(parent, name, AT_REMOVEDIR);
}

}  // namespace

void removeTree(const std::filesystem::path &path) {
    removeEntry(AT_FDCWD, path.c_str());
}

bool emptyFolder(const std::filesystem::path &path) {
    const FileDescriptor folder = openFolder(AT_FDCWD, path.c_str());
    if (!folder.isValid())
        return false;
    emptyOpenFolder(folder.get());
    return namesIn(folder.get()).empty();
}

}  // namespace ferrolt
