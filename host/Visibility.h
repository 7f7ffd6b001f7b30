// Marks types and functions that are used across libraries. All libraries are compiled with hidden
// visibility; without the mark, `dynamic_cast` and `catch` would not recognize a type from another
// library.
#pragma once

#define HOST_API __attribute__((visibility("default")))
