// In-place trims and case of NUL-terminated text. The two trims deliberately differ: a CR or LF is removed at
// the end of a line, never at its front.
#ifndef QORX_IDENT_STRINGS_H
#define QORX_IDENT_STRINGS_H

namespace qorx {

// Removes leading blanks and tabs. Nothing for a null or empty text, like the others.
void str_eliminate_header_space(char* s);

// Removes trailing blanks, tabs, CR and LF.
void str_eliminate_end_space(char* s);

// Upper-cases the ASCII letters; every other byte stays.
void str_upper_case(char* s);

}  // namespace qorx

#endif
