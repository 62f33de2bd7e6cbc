#pragma once

// Numbers of the module's resources, for the compiler of the language and for that of the resources: plain
// macros are all that both understand.

// Registry scripts, type REGISTRY.
#define VELK_APPID_SCRIPT 101
#define VELK_CLASS_SCRIPT 102
