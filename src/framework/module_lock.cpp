#include "framework/module_lock.h"

#include <atomic>

namespace velk {

namespace {
constinit std::atomic<LONG> g_moduleLocks{0};
}

void ModuleLock::Add() noexcept { g_moduleLocks.fetch_add(1, std::memory_order_relaxed); }
void ModuleLock::Release() noexcept { g_moduleLocks.fetch_sub(1, std::memory_order_release); }
LONG ModuleLock::Count() noexcept { return g_moduleLocks.load(std::memory_order_acquire); }

}  // namespace velk
