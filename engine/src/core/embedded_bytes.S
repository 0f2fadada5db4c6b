/* The bytes of a file in the library: from TELVAR_EMBEDDED_NAME_begin to TELVAR_EMBEDDED_NAME_end
   (telvar_embed in engine/src/CMakeLists.txt defines the name and TELVAR_EMBEDDED_FILE). */

#define JOINED(name, suffix) name##suffix
#define JOINED_EXPANDED(name, suffix) JOINED(name, suffix)
#define BEGIN JOINED_EXPANDED(TELVAR_EMBEDDED_NAME, _begin)
#define END JOINED_EXPANDED(TELVAR_EMBEDDED_NAME, _end)

#if defined(__ELF__)
    .section .rodata
    .hidden BEGIN
    .hidden END
#else
    .section .rdata, "dr"
#endif
    .global BEGIN
    .global END
    .balign 64
BEGIN:
    .incbin TELVAR_EMBEDDED_FILE
END:
    .byte 0

#if defined(__ELF__)
    .section .note.GNU-stack, "", %progbits
#endif
