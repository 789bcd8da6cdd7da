/* A program with calls that libdkom.so serves, and others that it does not. */
#include <oci.h>

int main(void)
{
    return OCIStmtFetch(NULL, NULL, 0, 0, 0) + OCILobTrim(NULL, NULL, NULL, 0) + ocom(NULL);
}
