#pragma once

namespace velkhost {

/// Whether this is Wine: what stands in for the platform's own parts must never do so on a real Windows.
bool IsWine();

}  // namespace velkhost
