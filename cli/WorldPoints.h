#pragma once

#include "cli/Jobs.h"

/// A process that runs one command has no earlier one that made the worldwide points known, so it sees to
/// that by itself. In the shell they are what its commands have loaded.
namespace marlune::cli {

/// Makes the worldwide points known that `call` names: those stored on the disk, else those of the service,
/// which is waited for. For the main thread, before the call is run.
void findWorldPoints(Jobs& jobs, const Call& call);

/// Has the worldwide points loaded and waits until there are some, five seconds at most; does nothing in the
/// shell. Not for the main thread.
void awaitWorldPoints(Context& context);

}  // namespace marlune::cli
