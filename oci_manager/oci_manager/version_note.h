/*
 * The library's version, as a text that both editions carry in an ELF note: a symbol would be one export
 * more.
 */
#ifndef OM_VERSION_NOTE_H
#define OM_VERSION_NOTE_H

#include "dkom_version.h"

/* Section, owner and type of the note. Its description is OM_VERSION_TEXT with a zero byte. */
#define OM_NOTE_SECTION ".note.dkom"
#define OM_NOTE_OWNER "dkom"
#define OM_NOTE_TYPE 1

/* What stands before and behind the edition, which is "exact" or "extended". */
#define OM_VERSION_TEXT_BEGIN "OCI manager, "
#define OM_VERSION_TEXT_MIDDLE " edition "

/* The text of the library that this is compiled into. */
#ifdef OM_EDITION
#    define OM_VERSION_TEXT OM_VERSION_TEXT_BEGIN OM_EDITION OM_VERSION_TEXT_MIDDLE DKOM_VERSION
#endif

#endif
