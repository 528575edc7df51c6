#pragma once

#include "PathRoots.h"

#include <QTemporaryDir>

#include <filesystem>
#include <fstream>
#include <string>

namespace ferrolt {

/// A file system of the launcher's own in a temporary folder: an empty root, a home, a development tree and
/// the program's folder, into which a test puts what it needs.
class TestTree {
  public:
    TestTree() {
        for (const auto &part : {"root", "home", "bin", "share", "dev"})
            std::filesystem::create_directories(path() / part);
    }

    std::filesystem::path path() const { return std::filesystem::path(folder.path().toStdString()); }

    PathRoots roots() const {
        PathRoots roots;
        roots.root = path() / "root";
        roots.home = path() / "home";
        roots.executableFolder = path() / "bin";
        roots.resources = path() / "share";
        roots.developmentFolder = path() / "dev";
        roots.nodeServerHost = "nodes.test";
        return roots;
    }

    std::filesystem::path engine() const { return path() / "dev/Tandril/LumoraCore/MediaEngine/Orbix"; }
    std::filesystem::path client() const { return path() / "dev/Client/qorclient"; }
    std::filesystem::path clientConfiguration() const {
        return path() / "home/.qor/nodes.test/MinerClient.properties";
    }

    static void write(const std::filesystem::path &file, const std::string &text) {
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary | std::ios::trunc) << text;
    }

    void writeIdentity(const std::string &email, const std::string &entity) const {
        write(clientConfiguration(), "MinerEmailAddress = " + email + "\nMinerEntityName = " + entity + "\n");
    }

    void writeEnginePort(const std::string &value) const {
        write(path() / "dev/Tandril/LumoraCore/Properties/local.properties",
              "MediaSocketPort = " + value + "\n");
    }

    /// The practice child under the given name; it reads what to do from the file beside it.
    static void installChild(const std::filesystem::path &as, const std::string &behaviour) {
        std::filesystem::create_directories(as.parent_path());
        std::filesystem::copy_file(FERROLT_PRACTICE_CHILD, as,
                                   std::filesystem::copy_options::overwrite_existing);
        write(as.string() + ".behaviour", behaviour + "\n");
    }

  private:
    QTemporaryDir folder;
};

}  // namespace ferrolt
