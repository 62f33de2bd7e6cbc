#pragma once

#include "common/platform.h"

namespace velk {

/// What keeps the module loaded: live COM objects, IClassFactory::LockServer calls and running worker
/// threads. All are counted in one number, from which DllCanUnloadNow answers.
class ModuleLock {
  public:
    static void Add() noexcept;
    static void Release() noexcept;
    static LONG Count() noexcept;
};

/// One count of the module lock, from construction to destruction.
class ModuleLockCount {
  public:
    ModuleLockCount() noexcept { ModuleLock::Add(); }
    ~ModuleLockCount() { ModuleLock::Release(); }
    ModuleLockCount(const ModuleLockCount&) = delete;
    ModuleLockCount& operator=(const ModuleLockCount&) = delete;
};

}  // namespace velk
