#pragma once

#include <QString>

namespace ferrolt {

/// Reads single values out of the client configuration. Stateless; main thread.
class LoadProps {
  public:
    LoadProps() = delete;

    static QString MinerEmailAddress();
    static QString MinerEntityName();
    static QString MinerDisplayName();
};

}  // namespace ferrolt
