#pragma once

#include "TestTree.h"

#include <filesystem>
#include <string>

namespace ferrolt {

/// The built program in the folders of an installation, with practice children.
struct InstalledTree {
    TestTree tree;

    InstalledTree(const std::string &engine, const std::string &client) {
        std::filesystem::copy_file(FERROLT_LAUNCHER, executable());
        TestTree::installChild(resources() / "Tandril/LumoraCore/MediaEngine/Orbix", engine);
        TestTree::installChild(tree.path() / "bin/qorclient", client);
        writeIdentity("Ada Lovelace");
    }

    std::filesystem::path executable() const { return tree.path() / "bin/ferrolt-miner-launcher"; }
    std::filesystem::path home() const { return tree.path() / "home"; }
    std::filesystem::path resources() const { return tree.path() / "share/ferrolt-miner-launcher"; }

    void writeIdentity(const std::string &entity) const {
        TestTree::write(home() / ".qor" / FERROLT_NODE_SERVER_HOST / "MinerClient.properties",
                        "MinerEmailAddress = ada@example.org\nMinerEntityName = " + entity + "\n");
    }
    void writeEnginePort(const std::string &port) const {
        TestTree::write(resources() / "Tandril/LumoraCore/Properties/local.properties",
                        "MediaSocketPort = " + port + "\n");
    }
};

}  // namespace ferrolt
