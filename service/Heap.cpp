#include "service/Heap.h"

#include <malloc.h>

namespace Service {

void ShareOneHeap() {
  mallopt(M_ARENA_MAX, 1);
}

void ReturnFreeMemory() {
  malloc_trim(0);
}

}  // namespace Service
