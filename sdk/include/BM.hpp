// The host's memory blocks: relocatable handles (a handle points at a master pointer, which points
// at the bytes). The bytes may move on every reallocation; read them through *handle again after
// each BMReallocHandle. Failures report null (or an error code) and never abort.
#pragma once

#include "HostTypes.hpp"

using HostHandle = char**;

// Allocation flags. Bits not listed here are accepted and ignored.
constexpr HostFlags BMFlagClear = 2; // new bytes (also those gained by a reallocation) read as 0

// Lock state bits, as read by BMhGetState and restored by BMhSetState.
constexpr HostFlags BMLockedState = 1;

// A negative size gives null. The block is size bytes long; *handle is never null for a live handle.
HostHandle BMAllocateHandle(HostSize size, HostFlags flags, short reserved);
// Resizes the block, keeping min(old, new) bytes. On failure null is returned and the old handle
// stays valid and unchanged. A null handle gives null.
HostHandle BMReallocHandle(HostHandle handle, HostSize newSize, HostFlags flags, short reserved);
// The size asked for at the last allocation or reallocation; 0 for a null handle.
HostSize BMGetHandleSize(HostHandle handle);
// Frees the block and sets *handle to null; a null argument or null handle does nothing.
void BMKillHandle(HostHandle* handle);

// Lock state: a flag kept for callers that save and restore it around their work.
HostFlags BMhGetState(HostHandle handle);
HostErrCode BMhSetState(HostHandle handle, HostFlags state);
HostErrCode BMhLock(HostHandle handle);
HostErrCode BMhUnlock(HostHandle handle);
