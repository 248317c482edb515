#pragma once
// Storage for whole-image planes. A run makes several planes of megabytes each and every fresh page of
// them costs a fault, which on a virtual machine is dearer than the work done in the page; blocks
// aligned on 2 MiB and marked for huge pages fault once per 2 MiB where the system allows it, and as
// usual where it does not.
#include <cstddef>

namespace tornel {

// Whether a block of `bytes` should come from LargeAllocate: one of a few hundred pages or more.
bool IsLargeBlock(std::size_t bytes);

// `bytes` of zeroed memory, or nullptr when the system has none to give.
void* LargeAllocate(std::size_t bytes);
// Gives back a block of LargeAllocate, with the size it was asked for.
void LargeFree(void* block, std::size_t bytes);

}  // namespace tornel
