/* A program with its own `text`, `boolean`, TRUE, FALSE and XA header can still include the OCI headers. */
#define OCI_NO_TEXT
#define OCI_NO_BOOLEAN

#define XA_H
typedef struct xid_t {
    long formatID;
    long gtrid_length;
    long bqual_length;
    char data[128];
} XID;

#include "oci.h"

#ifdef TRUE
#    error "OCI_NO_BOOLEAN does not keep TRUE away"
#endif

typedef enum boolean { FALSE, TRUE } boolean;
typedef struct text {
    const OraText *bytes;
    boolean empty;
} text;

int application_words(void);

int application_words(void)
{
    const text words = {NULL, TRUE};
    return words.empty == TRUE && sizeof(XID) == 152 ? 0 : 1;
}
