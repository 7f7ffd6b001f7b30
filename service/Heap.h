// Settings of the memory allocator for processes that mostly wait. By default, each thread gets its
// own heap, which keeps the memory of the largest document that the thread has handled.
#pragma once

namespace Service {

// Makes all threads of the process use one heap. Call before starting threads.
void ShareOneHeap();

// Returns the heap's free memory to the system. Takes less than a millisecond for a heap of a few
// megabytes. Thread-safe.
void ReturnFreeMemory();

}  // namespace Service
