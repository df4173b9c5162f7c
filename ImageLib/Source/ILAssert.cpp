// ILAssert.cpp - the replaceable assertion handler.
#include "ILAssert.h"

#include <stdio.h>
#include <wchar.h>

namespace {

// Writes a wide string to a narrow stream without switching the stream's
// orientation; characters outside ASCII are shown as '?'.
void writeWide(FILE* stream, const wchar_t* text)
{
    if (!text) return;
    for (; *text; ++text) {
        const wchar_t c = *text;
        fputc((c >= 0x20 && c < 0x7f) ? static_cast<int>(c) : '?', stream);
    }
}

void defaultAssertHandler(const wchar_t* expression, const wchar_t* source, unsigned int line)
{
    fputs("ImageLib assertion failed: ", stderr);
    writeWide(stderr, expression);
    fputs(", file ", stderr);
    writeWide(stderr, source);
    fprintf(stderr, ", line %u\n", line);
}

ILAssertHandler g_assertHandler = defaultAssertHandler;

} // namespace

ILAssertHandler ILSetAssertHandler(ILAssertHandler handler)
{
    ILAssertHandler previous = g_assertHandler;
    g_assertHandler = handler ? handler : defaultAssertHandler;
    return previous;
}

void ILReportAssertion(const wchar_t* expression, const wchar_t* source, unsigned int line)
{
    g_assertHandler(expression, source, line);
}
