// TestSupport.h - small helpers shared by the test files.
#ifndef IMAGELIB_TESTS_TESTSUPPORT_H
#define IMAGELIB_TESTS_TESTSUPPORT_H

#include <ImageLib.h>

#include <cstring>
#include <string>
#include <vector>

// Records every assertion raised while it is alive, instead of printing it.
class AssertRecorder {
public:
    struct Report {
        std::wstring expression;
        std::wstring source;
        unsigned int line;
    };

    AssertRecorder() : m_previous(ILSetAssertHandler(&AssertRecorder::record)) { reports().clear(); }
    ~AssertRecorder() { ILSetAssertHandler(m_previous); }
    AssertRecorder(const AssertRecorder&) = delete;
    AssertRecorder& operator=(const AssertRecorder&) = delete;

    static std::vector<Report>& reports()
    {
        static std::vector<Report> all;
        return all;
    }
    size_t count() const { return reports().size(); }
    bool saw(const wchar_t* expression, const wchar_t* source) const
    {
        for (const Report& r : reports())
            if (r.expression == expression && r.source == source) return true;
        return false;
    }

private:
    static void record(const wchar_t* expression, const wchar_t* source, unsigned int line)
    {
        reports().push_back(Report{expression, source, line});
    }
    ILAssertHandler m_previous;
};

// Builds an image of type T from samples laid out row by row.
template <typename T>
CILImageBase makeImage(QORDataTypes type, int width, int height, const std::vector<T>& samples)
{
    CILImageBase image;
    image.setImageData(samples.data(), type, width, height, true);
    return image;
}

// Reads the samples of an image as T.
template <typename T>
std::vector<T> samplesOf(const CILImageBase& image)
{
    std::vector<T> out(image.get_sizeinbytes() / sizeof(T));
    if (!out.empty()) std::memcpy(out.data(), image.get_data(), out.size() * sizeof(T));
    return out;
}

#endif
