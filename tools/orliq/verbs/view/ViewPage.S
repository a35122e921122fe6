/* SPDX-License-Identifier: Apache-2.0 */
/* The page of orliq view as it is built into the program: read-only bytes with a name at each end. */
  .macro embed name, file
  .global \name
  .global \name\()_end
\name:
  .incbin "\file"
\name\()_end:
  .byte 0
  .endm

  .section .rodata
  embed orliq_view_page, "view.html"
  embed orliq_view_licences, "licences.txt"
  embed orliq_view_policy, "view.csp"

  .section .note.GNU-stack, "", %progbits
