#pragma once

#include "LauncherRules.h"
#include "TestTree.h"

#include <QTemporaryDir>

#include <array>
#include <filesystem>
#include <string>
#include <system_error>

namespace ferrolt {

/// The program files of the two children. All kinds of them are prepared once for all walks and linked into a
/// walk's tree: a copy of the practice child for each walk would cost more than the walk's processes.
class ChildPrograms {
  public:
    static constexpr int statusAtSignal = 3;

    ChildPrograms() {
        namespace fs = std::filesystem;
        fs::copy_file(FERROLT_PRACTICE_CHILD, prepared("good"));
        fs::copy_file("/bin/false", prepared("short"));
        TestTree::write(prepared("plain"), "no program\n");
    }

    /// The next launch finds this. A rename: a launch never finds half of it.
    void install(const TestTree &tree, LauncherRules::Kind kind, LauncherRules::Program program) const {
        namespace fs = std::filesystem;
        using Program = LauncherRules::Program;
        const fs::path file = kind == LauncherRules::Engine ? tree.engine() : tree.client();
        if (program == Program::Missing) {
            fs::remove(file);
            return;
        }
        const std::string behaviour = file.string() + ".behaviour";
        if (!fs::exists(behaviour))
            TestTree::write(behaviour, "puppet " + std::to_string(statusAtSignal) + '\n');
        const fs::path added = file.string() + ".new";
        fs::create_hard_link(prepared(program == Program::Good         ? "good"
                                      : program == Program::EndsAtOnce ? "short"
                                                                       : "plain"),
                             added);
        std::error_code failure;
        fs::rename(added, file, failure);
        fs::remove(added, failure);  // a rename onto another link of the same file leaves both
    }

  private:
    std::filesystem::path prepared(const char *name) const {
        return std::filesystem::path(folder.path().toStdString()) / name;
    }

    QTemporaryDir folder;
};

}  // namespace ferrolt
