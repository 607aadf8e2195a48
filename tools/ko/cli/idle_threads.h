// What threads do that wait for the next loop.
#pragma once

namespace CLI {
class App;
}

namespace ko::tool {

/// Has the threads of the operations sleep between two loops. By default they spin for some milliseconds, and
/// where other programs keep the processors busy a series of small pictures takes several times as long.
///
/// OpenMP reads its settings while the program is loaded, so the program starts itself once more, with
/// `OMP_WAIT_POLICY` set. It does so for more than one input and for cameras only, which is worth the time, and
/// never where the user has chosen.
void letIdleThreadsSleep(const CLI::App& app, char** argv);

}  // namespace ko::tool
