#pragma once

#include "LoginItem.h"

#include <filesystem>
#include <vector>

namespace ferrolt {

/// A log-in item as a desktop entry in the user's autostart folder (freedesktop.org's Desktop Application
/// Autostart 0.5, Desktop Entry 1.5). An entry of the same name in a folder of the system's counts where the
/// user has none; the user's hides it.
///
/// Entries that start a program of this name, and nothing else, are this program's own: also one that was
/// written before the program was moved, and one that the desktop copied from the applications menu. Any
/// other entry is left as it is. Main thread.
class AutostartEntry : public LoginItem {
  public:
    /// `command` is the program's name where every session finds it by that, otherwise its path. `folders`
    /// are the autostart folders, the user's own first; it need not exist.
    AutostartEntry(std::filesystem::path command, std::vector<std::filesystem::path> folders);

    State state() const override;
    /// Off removes the user's entry, or hides the system's.
    std::optional<QString> set(State wanted) override;

    /// The value of "Exec" that starts a program without arguments. Nothing for a path that no entry can
    /// hold: one with "=" or a control character, or not in UTF-8.
    static std::optional<QByteArray> execValue(const std::filesystem::path &command);

  private:
    enum class Found { Nothing, Enabled, Disabled, Foreign };
    enum class Visibility { Shown, Hidden };

    Found find(const std::filesystem::path &folder) const;
    /// The entry that decides.
    Found findFirst() const;
    std::optional<QString> write(Visibility visibility) const;

    const std::filesystem::path command;
    const std::vector<std::filesystem::path> folders;
};

}  // namespace ferrolt
