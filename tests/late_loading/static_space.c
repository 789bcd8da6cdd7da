/* Takes thread-local space that a process sets aside when it starts, so that nobody who comes later has it.
 */
__attribute__((tls_model("initial-exec"))) __thread char static_space[SPACE];

char *static_space_address(void);

char *static_space_address(void)
{
    return static_space;
}
