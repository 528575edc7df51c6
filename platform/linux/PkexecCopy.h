#pragma once

#include "PrivilegedCopy.h"

#include <filesystem>

namespace ferrolt {

/// Copies as root, behind polkit's password prompt.
///
/// The new application is copied beside the old one first, and takes its place only when it is whole: a
/// prompt that is answered and a copy that then fails, or is cut off by a power failure, never leaves half an
/// application to be taken for a whole one.
class PkexecCopy : public PrivilegedCopy {
  public:
    /// `prompt` is called as pkexec is: with a program and its arguments.
    explicit PkexecCopy(std::filesystem::path prompt = "/usr/bin/pkexec") : prompt(std::move(prompt)) {}

    /// Waits on the calling thread, which should not be the main one: the prompt is another program's window,
    /// and this program's own need not freeze behind it.
    bool privilegedCopy(const std::filesystem::path &source,
                        const std::filesystem::path &destination) override;

  private:
    std::filesystem::path prompt;
};

}  // namespace ferrolt
