// Links the generated character table (see FormatTableCaracteres.h) into read-only data, as is:
// no start-up work, and pages are loaded only when touched.
#include "texte/FormatTableCaracteres.h"

#define OUTILS_SOCLE_CHAINE(x) #x
#define OUTILS_SOCLE_CHAINE_DE(x) OUTILS_SOCLE_CHAINE(x)

asm(".section .rodata\n"
    ".balign 16\n"
    ".globl sdd_table_caracteres\n"
    ".hidden sdd_table_caracteres\n"
    ".type sdd_table_caracteres, @object\n"
    "sdd_table_caracteres:\n"
    ".incbin \"" OUTILS_SOCLE_CHAINE_DE(OUTILS_SOCLE_TABLE_CARACTERES) "\"\n"
    ".size sdd_table_caracteres, .-sdd_table_caracteres\n"
    ".previous\n");
