#pragma once

namespace ferrolt {

/// Gives the process what it relies on, however it was started. The first call in main(): before any file is
/// opened, any thread runs and any path is looked up.
///
/// - Closed descriptors 0, 1 and 2 are opened on /dev/null. Otherwise the next file or socket would get one
/// of
///   these numbers, and a library's error message would be written into it.
/// - SIGPIPE and SIGXFSZ are ignored: a write that they would report fails with EPIPE or EFBIG instead of
///   ending the process and, with it, both children. Children start with the default dispositions.
/// - HOME, if it names no absolute path, becomes the home folder of the user's passwd entry. Qt would use
/// "/".
/// - TMPDIR is removed if it names no folder that can be written to, so that the system's temporary folder is
///   used.
void setUpProcess();

}  // namespace ferrolt
