#pragma once

#include <cstddef>

namespace velktest {

/// Whether the long form of a test is wanted, which leaves nothing out (environment variable VELK_LONG).
bool IsLongRun();

/// Every how many of its cases a long series takes: 1, but more where the same program runs all of them
/// beside another build of the DLL (environment variable VELK_REPETITION).
std::size_t CaseStride();

}  // namespace velktest
