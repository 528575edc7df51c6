#pragma once

#include "InstalledTree.h"
#include "KillWorld.h"
#include "Launcher.h"
#include "Listener.h"

#include <QByteArray>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <random>
#include <string>

namespace ferrolt {

/// One kill -9 of the launcher, at a random moment of a phase, and what has to hold after it. The moments are
/// drawn from the seed; what the machine does meanwhile is not repeated with it.
class KillTrial {
  public:
    enum class Phase { Start, Save, Download, Unpack, Install, Reload, Flood };
    static constexpr int phases = 7;
    static std::string nameOf(Phase phase);

    KillTrial(KillWorld &world, Phase phase, std::uint64_t seed);
    ~KillTrial();

    /// Throws std::runtime_error that says what does not hold.
    void run();

    /// Takes the times of a launcher that installs undisturbed, into `world`; throws likewise.
    static void measure(KillWorld &world);

    /// From the kill until no child was left, after run().
    KillWorld::Milliseconds childrenGoneAfter() const { return goneAfter; }

    /// Whether the kill left a half-written file, a staging folder or a running privileged copy.
    bool wasInTheMiddle() const { return leftHalfDone; }

  private:
    using Milliseconds = KillWorld::Milliseconds;

    double random(double below) { return std::uniform_real_distribution(0.0, below)(generator); }
    bool oneOfTwo() { return generator() % 2 == 0; }
    /// Lets a random time pass: any up to `below` is as likely.
    void passUpTo(Milliseconds below);
    /// Any order of magnitude from 10 microseconds to 10 milliseconds is as likely.
    void passAMoment();

    std::filesystem::path home() const { return tree->home(); }
    std::filesystem::path temporary() const { return tree->tree.path() / "tmp"; }
    std::filesystem::path properties() const;
    std::filesystem::path settings() const;

    void prepare();
    void start();
    void awaitChildren() const;
    void openWindow() const;

    void bringIntoPhase();
    void bringIntoSave();
    std::filesystem::path startToMountPoint();

    void checkChildrenAreGone();
    bool isHalfDone() const;
    void checkFiles() const;
    void awaitEndOfInstall() const;
    void checkNextStart();
    void checkNothingIsLeft() const;

    KillWorld &world;
    const Phase phase;
    std::mt19937_64 generator;
    KillWorld::Installed before = KillWorld::Installed::Nothing;
    QByteArray oldProperties;
    QByteArray newProperties;
    QByteArray oldSettings;  ///< empty if there is no such file
    Listener enginePort;     // accepts no connection: one for all kills would be full after 64 starts
    std::unique_ptr<InstalledTree> tree;
    std::unique_ptr<Launcher> launcher;
    std::unique_ptr<QProcess> keys;
    Milliseconds goneAfter{};
    bool leftHalfDone = false;
};

}  // namespace ferrolt
