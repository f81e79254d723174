/* Calls an entry point under setjmp, so that the reference host can leave host_error by
 * longjmp as a C host does. Returns 0 when the entry returned, 1 when it was left. */
#include <setjmp.h>

#include "hw.h"

int refhost_guarded_call(jmp_buf *env, HostEntry entry, HostKernel *kernel, HostValue *args,
                         HostValue *result) {
    if (setjmp(*env)) return 1;
    *result = entry(kernel, args);
    return 0;
}
