#pragma once

namespace ferrolt {

/// Repairs what the process may have inherited from the program that started it. To be called first in
/// main(), before a file is opened, a thread is started or a path is looked up.
///
/// - Opens /dev/null as descriptors 0, 1 and 2 if they are closed. Otherwise the next file or socket would
/// get one of
///   these numbers, and a library could write an error message into it.
/// - Ignores SIGPIPE and SIGXFSZ: such a write fails with EPIPE or EFBIG instead of ending the process and
/// both children.
///   Children start with the default dispositions.
/// - Sets HOME to the home folder of the user's passwd entry if it is no absolute path. Qt would use "/".
/// - Removes TMPDIR if it is no writable folder, so that the system's temporary folder is used.
void setUpProcess();

}  // namespace ferrolt
