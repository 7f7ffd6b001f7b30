/* Checks that the card library's header compiles as C. */
#include "host/vsl_abstraction.h"

int UseFromC(void);

int UseFromC(void) {
  vsl_error_record err;
  void* iom = 0;
  err.text[0] = 'x';
  return vsl_iom_iterate(&iom, 1, &err) ? 1 : 0;
}
