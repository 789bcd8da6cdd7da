/* Functions with the names of entry points, for the C++ test to link with. Nothing calls them; the OCI
 * headers are left out so that only the names matter. */
#include "linked_names.h"

#define DEFINE(name)                                                                                         \
    int name(void);                                                                                          \
    int name(void)                                                                                           \
    {                                                                                                        \
        return 0;                                                                                            \
    }
LINKED_NAMES(DEFINE)
