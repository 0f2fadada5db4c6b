/* The built-in base network, as its file holds it (ocr/base.h). */

#if defined(__ELF__)
    .section .rodata
    .hidden telvar_base_begin
    .hidden telvar_base_end
#else
    .section .rdata, "dr"
#endif
    .global telvar_base_begin
    .global telvar_base_end
    .balign 64
telvar_base_begin:
    .incbin TELVAR_BASE_FILE
telvar_base_end:
    .byte 0

#if defined(__ELF__)
    .section .note.GNU-stack, "", %progbits
#endif
