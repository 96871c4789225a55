// Test support of the sdk's handles, kept out of the installed headers: makes chosen allocations
// fail so that callers' handling of exhausted memory can be exercised for real.
#pragma once

#include "HostTypes.hpp"

namespace BMTesting {
// The nth allocating call from now (1 = the next BMAllocateHandle or BMReallocHandle) fails once;
// 0 disarms.
void FailNthAllocation(long n);
// Every allocation or reallocation to at least this many bytes fails; a negative value disarms.
void FailAllocationsFromSize(HostSize bytes);
// Disarms both hooks.
void ResetFailures();
// Handles currently alive (allocated and not killed), to catch leaks in tests.
long LiveHandleCount();
} // namespace BMTesting
