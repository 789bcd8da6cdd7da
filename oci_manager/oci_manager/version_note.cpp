#include "version_note.h"

#define TEXT_OF_NUMBER(number) #number
#define NUMBER(number) TEXT_OF_NUMBER(number)

/* Written out, since compilers differ in the type that they give to a section of this name. */
asm(".pushsection " OM_NOTE_SECTION ", \"a\", %note\n"
    ".balign 4\n"
    ".long 2f - 1f, 4f - 3f, " NUMBER(OM_NOTE_TYPE) "\n"
                                                    "1: .asciz \"" OM_NOTE_OWNER "\"\n"
                                                    "2: .balign 4\n"
                                                    "3: .asciz \"" OM_VERSION_TEXT "\"\n"
                                                    "4: .balign 4\n"
                                                    ".popsection\n");
