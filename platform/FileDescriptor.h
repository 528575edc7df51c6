#pragma once

#include <utility>

namespace ferrolt {

/// Owns a file descriptor and closes it.
class FileDescriptor {
  public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor) : descriptor(descriptor) {}
    FileDescriptor(FileDescriptor &&other) noexcept : descriptor(std::exchange(other.descriptor, -1)) {}
    FileDescriptor &operator=(FileDescriptor &&other) noexcept {
        FileDescriptor taken(std::move(other));  // closes the old one
        std::swap(descriptor, taken.descriptor);
        return *this;
    }
    ~FileDescriptor() { close(); }

    bool isValid() const { return descriptor >= 0; }
    int get() const { return descriptor; }
    void close();

  private:
    int descriptor = -1;
};

}  // namespace ferrolt
