#pragma once

#include "Figures.h"

namespace ferrolt::bench {

/// Each prints one row of the table or a few, which stand beside their peers.
void throughputOfOneChild(const Options &options);
void throughputOfBothChildren(const Options &options);
void chattyChild(const Options &options);
void stallInTheFlood(const Options &options);
void otherText(const Options &options);
void launchWithManyPages(const Options &options);
void fullView(const Options &options);
void inputInTheFlood(const Options &options);
void latencyOfAChunk(const Options &options);
void writesOfAChild(const Options &options);
void growth(const Options &options);
void startAndIdle(const Options &options);
void quitInTheFlood(const Options &options);

/// Not part of the table: both children change between flood, silence and single characters for that long.
void soak(const Options &options);

}  // namespace ferrolt::bench
