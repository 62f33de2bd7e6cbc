#pragma once

namespace velktest {

/// Whether the long form of a test is wanted, which leaves nothing out (environment variable VELK_LONG).
bool IsLongRun();

}  // namespace velktest
