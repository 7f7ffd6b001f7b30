// Marks what crosses a library boundary, so that `dynamic_cast` and `catch` agree about a type on
// both sides although everything is compiled with hidden visibility.
#pragma once

#define CORVANE_API __attribute__((visibility("default")))
