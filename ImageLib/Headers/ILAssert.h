// ILAssert.h - the library's replaceable assertion handler.
//
// Internal consistency checks stay in the shipped library. A failed check calls
// the current handler with the condition text, the name of the unit that made the
// check and the line; when the handler returns, the operation carries on with its
// documented behaviour. A handler may abort.
#ifndef IMAGELIB_ILASSERT_H
#define IMAGELIB_ILASSERT_H

#if defined(_WIN32)
#define IMAGELIB_API __declspec(dllexport)
#else
#define IMAGELIB_API __attribute__((visibility("default")))
#endif

typedef void (*ILAssertHandler)(const wchar_t* expression, const wchar_t* source, unsigned int line);

// Installs `handler` and returns the previous one. Passing null restores the
// default handler, which writes one line to standard error and returns.
IMAGELIB_API ILAssertHandler ILSetAssertHandler(ILAssertHandler handler);

// Reports a failed check through the current handler (used by the IL_ASSERT macro).
IMAGELIB_API void ILReportAssertion(const wchar_t* expression, const wchar_t* source, unsigned int line);

#endif
