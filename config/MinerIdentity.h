#pragma once

namespace ferrolt {

/// Whether the stored identity suffices to run the miner: its e-mail address and entity name are both
/// non-empty once trimmed of spaces and tabs. Nothing else is asked of them. Reads the client configuration
/// afresh; main thread.
bool isIdentityComplete();

}  // namespace ferrolt
