/* The OCI headers in strict C99. */
#include "checks.h"

int application_words(void);

/* Applications write the words of old; these must be the types the prototypes use. */
static sword old_style(dvoid *handle, CONST text *statement, boolean *flag)
{
    const OraText *same_text = statement;
    int *same_flag = flag;
    *same_flag = *same_text != 0 && handle == NULL ? TRUE : FALSE;
    return OCI_SUCCESS;
}

/* A callback as an application writes it fits the type without a cast. */
static sb4 failover(void *svcctx, void *envctx, void *fo_ctx, ub4 fo_type, ub4 fo_event)
{
    (void)svcctx;
    (void)envctx;
    (void)fo_ctx;
    return fo_type == OCI_FO_SESSION && fo_event == OCI_FO_ERROR ? OCI_FO_RETRY : 0;
}

int main(void)
{
    int faults = run_checks();

    boolean flag = FALSE;
    if (old_style(NULL, (const text *)"x", &flag) != OCI_SUCCESS || flag != TRUE) {
        printf("text, boolean, TRUE or FALSE is not what the prototypes use\n");
        faults++;
    }
    const OCIFocbkStruct registration = {failover, NULL};
    if (registration.callback_function(NULL, NULL, NULL, OCI_FO_SESSION, OCI_FO_ERROR) != OCI_FO_RETRY) {
        printf("the failover callback lost an argument\n");
        faults++;
    }
    if (application_words() != 0) {
        printf("an application's own types and those of the headers got mixed up\n");
        faults++;
    }
    return faults == 0 ? 0 : 1;
}
