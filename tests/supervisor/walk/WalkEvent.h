#pragma once

#include <array>
#include <cstdint>
#include <random>

namespace ferrolt {

/// What can happen to a launcher during a walk.
enum class WalkEvent {
    Start,           ///< services are asked for
    Save,            ///< the settings form is saved, which asks for services too
    ChildEnds,       ///< by itself or by a signal from outside
    ChildGrowsDeaf,  ///< from now on it ignores SIGTERM
    DeafEnd,         ///< those that were asked to end and ignore it are killed
    ProgramChanges,  ///< a child's program is replaced, removed or no longer executable
    PortOpens,
    PortMoves,  ///< the engine's port is another one, and closed
    TimeMoves,
    Install,          ///< the installation is asked for, with an outcome that is drawn
    ManifestChanges,  ///< what the update server answers
    Reload,           ///< the engine is restarted
    Reopen,           ///< the window, and with it the settings form, is shown anew
    AlertIsAnswered,
    Quit,
    Relaunch,  ///< the program ends and is started again
};

/// The decisions of one walk, all of them from its seed.
class WalkDice {
  public:
    explicit WalkDice(std::uint64_t seed) : random(seed) {}

    /// 0 to `bound` - 1. Not a distribution of the standard library: each library has its own.
    int below(int bound) { return static_cast<int>(random() % static_cast<std::uint64_t>(bound)); }
    bool percent(int chance) { return below(100) < chance; }

    template <class Value, std::size_t size>
    Value oneOf(const std::array<Value, size> &values) {
        return values[static_cast<std::size_t>(below(static_cast<int>(size)))];
    }

    WalkEvent event() {
        struct Weight {
            WalkEvent event;
            int weight;
        };
        static constexpr std::array weights{Weight{WalkEvent::TimeMoves, 28},
                                            Weight{WalkEvent::Start, 6},
                                            Weight{WalkEvent::Save, 5},
                                            Weight{WalkEvent::ChildEnds, 3},
                                            Weight{WalkEvent::ChildGrowsDeaf, 3},
                                            Weight{WalkEvent::DeafEnd, 4},
                                            Weight{WalkEvent::ProgramChanges, 3},
                                            Weight{WalkEvent::PortOpens, 10},
                                            Weight{WalkEvent::PortMoves, 2},
                                            Weight{WalkEvent::Install, 8},
                                            Weight{WalkEvent::ManifestChanges, 8},
                                            Weight{WalkEvent::Reload, 8},
                                            Weight{WalkEvent::Reopen, 2},
                                            Weight{WalkEvent::AlertIsAnswered, 2},
                                            Weight{WalkEvent::Quit, 1},
                                            Weight{WalkEvent::Relaunch, 5}};
        int all = 0;
        for (const Weight &each : weights)
            all += each.weight;
        int drawn = below(all);
        for (const Weight &each : weights) {
            drawn -= each.weight;
            if (drawn < 0)
                return each.event;
        }
        return WalkEvent::TimeMoves;
    }

  private:
    std::mt19937_64 random;
};

}  // namespace ferrolt
