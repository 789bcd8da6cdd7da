/* Client libraries with one fault each. */
#include <stdlib.h>
#include <unistd.h>

#if defined CRASHES
__attribute__((constructor)) static void begin(void)
{
    abort();
}
#elif defined HANGS
__attribute__((constructor)) static void begin(void)
{
    for (;;)
        pause();
}
#endif

#if defined CRASHES_LATER || defined REFUSES
int OCIEnvCreate(void **environment);
int OCIHandleAlloc(void);

int OCIEnvCreate(void **environment)
{
#    ifdef CRASHES_LATER
    abort();
#    endif
    *environment = NULL;
    return -1;
}

int OCIHandleAlloc(void)
{
    return -1;
}
#else
int no_client(void);
int no_client(void)
{
    return 0;
}
#endif
