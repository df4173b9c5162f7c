// ILImage_Display.cpp - display pixels of a CILImage and drawing them.
#include "ILImage.h"
#include "ILImageBase_templates.h"
#include "ILInternal.h"

#include <GL/gl.h>

#if defined(__x86_64__)
#include <emmintrin.h>
#endif

#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>
#include <vector>

#define IL_ASSERT_SOURCE L"ImageLib/Source/ILImage"

namespace {

// The gamma curve through the palette's range: v -> ((v-lo)/(hi-lo))^(1/g)
// scaled back to lo..hi. Identity when gamma is 1.
struct GammaCurve {
    bool active;
    double lo, hi, inverseGamma;
    double operator()(double v) const
    {
        if (!active) return v;
        return std::pow((v - lo) / (hi - lo), inverseGamma) * (hi - lo) + lo;
    }
};

// False when gamma is in force but the palette's range is empty.
bool makeGammaCurve(float gamma, const CILPalette& palette, GammaCurve& curve)
{
    curve.active = (gamma != 1.0f);
    curve.lo = palette.getImageMin();
    curve.hi = palette.getImageMax();
    curve.inverseGamma = 1.0 / gamma;
    return !(curve.active && CILPalette::doublecomp(curve.hi, curve.lo) == 0);
}

unsigned char lowByte(double v) { return static_cast<unsigned char>(ILTruncToInt32(v)); }

// Visits every sample as a double, rows from the first or (flip) the last.
template <typename T, typename Visit>
void visitRows(const unsigned char* data, uint32_t width, uint32_t height, int flip, Visit&& visit)
{
    const T* samples = reinterpret_cast<const T*>(data);
    for (uint32_t i = 0; i < height; ++i) {
        const uint32_t row = flip ? height - 1 - i : i;
        const T* in = samples + static_cast<size_t>(row) * width;
        for (uint32_t x = 0; x < width; ++x) visit(static_cast<double>(in[x]));
    }
}

// The display bytes of `value` as a 4-byte entry (the fourth byte 0 for
// RGB). False when the palette leaves an output unwritten: the bytes would
// then depend on the pixel before, and only mapping pixel by pixel gives them.
bool paletteEntry(CILPalette& palette, double value, size_t channels, uint32_t& entry)
{
    const double none = std::numeric_limits<double>::quiet_NaN();
    double r = none, g = none, b = none, a = none;
    palette.GetRGBForImageValue(value, &r, &g, &b, &a);
    if (std::isnan(r) || std::isnan(g) || std::isnan(b) || std::isnan(a)) return false;
    const unsigned char bytes[4] = {lowByte(r), lowByte(g), lowByte(b),
                                    static_cast<unsigned char>(channels == 4 ? lowByte(a) : 0)};
    std::memcpy(&entry, bytes, 4);
    return true;
}

// The entry of each table position, asked of the palette the first time a
// value on that position comes up. The colour GetRGBForImageValue gives
// depends on the position alone, so every value on it shares the entry.
class PositionEntries {
public:
    // False when the palette has no table to take positions in.
    bool init(const CILPalette& palette)
    {
        m_colours = palette.getMaxIndex();
        if (m_colours < 1 || m_colours > 65536) return false;
        try {
            m_known.assign(static_cast<size_t>(m_colours) + 2, kUnset);
        } catch (...) {
            return false;
        }
        return true;
    }

    // The entry of `value`, which lies on table position k.
    bool entryFor(CILPalette& palette, double value, int k, size_t channels, uint32_t& entry)
    {
        // Slot 0: below the range; 1..colours: the table; colours + 1: above.
        const size_t slot = k < 0 ? 0 : (k >= m_colours ? static_cast<size_t>(m_colours) + 1 : static_cast<size_t>(k) + 1);
        if (m_known[slot] == kUnset) {
            if (!paletteEntry(palette, value, channels, entry)) return false;
            m_known[slot] = entry;
        }
        entry = static_cast<uint32_t>(m_known[slot]);
        return true;
    }

private:
    static constexpr uint64_t kUnset = ~uint64_t(0);
    int m_colours = 0;
    std::vector<uint64_t> m_known;
};

// For 8- and 16-bit samples every possible value is mapped once into a table
// of 4-byte entries, which the pixels then look up (one 4-byte store a
// pixel). Abandoned (false), so that the caller maps pixel by pixel, when the
// palette leaves an output unwritten.
template <typename T>
bool buildDisplayTable(CILPalette& palette, const GammaCurve& gamma, size_t channels, std::vector<uint32_t>& table)
{
    const size_t values = size_t(1) << (8 * sizeof(T));
    PositionEntries byPosition;
    const bool positions = byPosition.init(palette);
    try {
        table.resize(values);
    } catch (...) {
        return false;  // no room for the table: map pixel by pixel
    }
    for (size_t v = 0; v < values; ++v) {
        const double value = gamma(static_cast<double>(static_cast<T>(v)));
        const bool mapped = positions ? byPosition.entryFor(palette, value, palette.tablePositionFor(value), channels, table[v])
                                      : paletteEntry(palette, value, channels, table[v]);
        if (!mapped) return false;
    }
    return true;
}

// Outputs at least this large are written with non-temporal stores.
const uint64_t kStreamFromBytes = uint64_t(4) << 20;

bool streamOutput(uint32_t width, uint32_t height, size_t channels)
{
    return static_cast<uint64_t>(width) * height * channels >= kStreamFromBytes;
}

// Writes the entries of one row, entryOf(x) for pixel x, as packed pixels of
// `Channels` bytes. Entries are four bytes; with three channels each is
// stored whole and its spare byte is overwritten by the next pixel, except
// at the end of the image (`lastRow`) and, when streaming, at the end of
// every row and before a streamed word: a spare byte never lands past the
// buffer or in a word written by a non-temporal store.
//
// With `stream`, once the output is 8-byte aligned, whole 8-byte words are
// assembled in registers from whole entries (8 RGB or 2 RGBA pixels make 3
// or 1 words) and written with non-temporal stores: large outputs are not
// read back here, and skipping the read of each destination line before it
// is written saves a third of the memory traffic.
template <size_t Channels, typename EntryOf>
unsigned char* writeRow(EntryOf entryOf, uint32_t count, unsigned char* out, bool stream, bool lastRow)
{
    uint32_t x = 0;
#if defined(__x86_64__)
    if (stream) {
        for (; x < count && (reinterpret_cast<uintptr_t>(out) & 7) != 0; ++x, out += Channels) {
            const uint32_t entry = entryOf(x);
            std::memcpy(out, &entry, Channels);
        }
        const uint32_t block = Channels == 3 ? 8 : 2;
        for (; count - x >= block; x += block, out += block * Channels) {
            long long* words = reinterpret_cast<long long*>(out);
            if constexpr (Channels == 3) {
                uint64_t e[8];
                for (uint32_t k = 0; k < 8; ++k) e[k] = entryOf(x + k);
                _mm_stream_si64(words, static_cast<long long>(e[0] | e[1] << 24 | e[2] << 48));
                _mm_stream_si64(words + 1, static_cast<long long>(e[2] >> 16 | e[3] << 8 | e[4] << 32 | e[5] << 56));
                _mm_stream_si64(words + 2, static_cast<long long>(e[5] >> 8 | e[6] << 16 | e[7] << 40));
            } else {
                const uint64_t pair = entryOf(x) | static_cast<uint64_t>(entryOf(x + 1)) << 32;
                _mm_stream_si64(words, static_cast<long long>(pair));
            }
        }
    }
#else
    (void)stream;
#endif
    const uint32_t whole = ((lastRow || stream) && Channels == 3 && x < count) ? count - 1 : count;
    for (; x < whole; ++x, out += Channels) {
        const uint32_t entry = entryOf(x);
        std::memcpy(out, &entry, 4);
    }
    for (; x < count; ++x, out += Channels) {
        const uint32_t entry = entryOf(x);
        std::memcpy(out, &entry, Channels);
    }
    return out;
}

// Writes one row in the output's format.
template <typename EntryOf>
unsigned char* writeRowAs(size_t channels, EntryOf entryOf, uint32_t count, unsigned char* out, bool stream,
                          bool lastRow)
{
    return channels == 3 ? writeRow<3>(entryOf, count, out, stream, lastRow)
                         : writeRow<4>(entryOf, count, out, stream, lastRow);
}

// Samples of any type, row by row: the rows' table positions in one call,
// then each pixel takes its position's entry. Same bytes as pixel by pixel
// unless the palette leaves an output unwritten; then false, and the caller
// maps every pixel again from the start.
template <typename T>
bool mapByPositions(const unsigned char* data, uint32_t width, uint32_t height, int flip, CILPalette& palette,
                    const GammaCurve& gamma, size_t channels, unsigned char* out)
{
    PositionEntries byPosition;
    if (width == 0 || !byPosition.init(palette)) return false;
    std::vector<double> values;
    std::vector<int32_t> positions;
    try {
        values.resize(width);
        positions.resize(width);
    } catch (...) {
        return false;
    }
    const T* samples = reinterpret_cast<const T*>(data);
    const bool stream = streamOutput(width, height, channels);
    bool complete = true;
    for (uint32_t i = 0; i < height && complete; ++i) {
        const T* in = samples + static_cast<size_t>(flip ? height - 1 - i : i) * width;
        for (uint32_t x = 0; x < width; ++x) values[x] = gamma(static_cast<double>(in[x]));
        palette.tablePositionsFor(values.data(), positions.data(), width);
        // The entries are written over the positions, which are not needed again.
        uint32_t* entries = reinterpret_cast<uint32_t*>(positions.data());
        for (uint32_t x = 0; x < width && complete; ++x)
            complete = byPosition.entryFor(palette, values[x], positions[x], channels, entries[x]);
        if (complete)
            out = writeRowAs(channels, [entries](uint32_t x) { return entries[x]; }, width, out, stream, i + 1 == height);
    }
#if defined(__x86_64__)
    if (stream) _mm_sfence();  // the streamed words are visible before the buffer is used
#endif
    return complete;
}

template <typename T>
bool mapThroughTable(const unsigned char* data, uint32_t width, uint32_t height, int flip, CILPalette& palette,
                     const GammaCurve& gamma, size_t channels, unsigned char* out)
{
    if constexpr (sizeof(T) <= 2 && std::is_integral<T>::value) {
        // Building the table only pays off when the image has more pixels
        // than the table has entries.
        if (width == 0 || static_cast<uint64_t>(width) * height < (uint64_t(1) << (8 * sizeof(T)))) return false;
        std::vector<uint32_t> table;
        if (!buildDisplayTable<T>(palette, gamma, channels, table)) return false;
        const T* samples = reinterpret_cast<const T*>(data);
        const bool stream = streamOutput(width, height, channels);
        const uint32_t* entries = table.data();
        for (uint32_t i = 0; i < height; ++i) {
            const T* in = samples + static_cast<size_t>(flip ? height - 1 - i : i) * width;
            out = writeRowAs(channels, [in, entries](uint32_t x) { return entries[in[x]]; }, width, out, stream,
                             i + 1 == height);
        }
#if defined(__x86_64__)
        if (stream) _mm_sfence();  // the streamed words are visible before the buffer is used
#endif
        return true;
    } else {
        (void)data, (void)width, (void)height, (void)flip, (void)palette, (void)gamma, (void)channels, (void)out;
        return false;
    }
}

} // namespace

void* CILImage::getPixelsForGL(int flip)
{
    if (!m_glBufferDirty) return m_glRgbBuf;
    GammaCurve gamma;
    if (!makeGammaCurve(m_gamma, m_palette, gamma)) return nullptr;
    unsigned char* out = getGLRgbBuf(m_glFormat);
    if (!out) return nullptr;
    if (!hasPixels()) return out;
    const bool rgba = (m_glFormat == 6408);
    // Outputs the palette leaves unwritten repeat the previous pixel's.
    double r = 0.0, g = 0.0, b = 0.0, a = 255.0;
    const bool known = ILDispatchSampleType(m_datatype, [&](auto tag) {
        using T = typename decltype(tag)::type;
        if (mapThroughTable<T>(m_data, m_width, m_height, flip, m_palette, gamma, rgba ? 4 : 3, out)) return;
        if (mapByPositions<T>(m_data, m_width, m_height, flip, m_palette, gamma, rgba ? 4 : 3, out)) return;
        visitRows<T>(m_data, m_width, m_height, flip, [&](double v) {
            m_palette.GetRGBForImageValue(gamma(v), &r, &g, &b, &a);
            *out++ = lowByte(r);
            *out++ = lowByte(g);
            *out++ = lowByte(b);
            if (rgba) *out++ = lowByte(a);
        });
    });
    if (!known) return m_glRgbBuf;
    m_glBufferDirty = false;
    return m_glRgbBuf;
}

bool CILImage::getPixelsForShader(unsigned char* out, int flip)
{
    GammaCurve gamma;
    if (!makeGammaCurve(m_gamma, m_palette, gamma)) return false;
    if (!out || !hasPixels()) return false;
    const float range = Max() - Min();
    const double low = Min();
    return ILDispatchSampleType(m_datatype, [&](auto tag) {
        using T = typename decltype(tag)::type;
        visitRows<T>(m_data, m_width, m_height, flip, [&](double v) {
            const unsigned char grey = lowByte((gamma(v) - low) * 255.0 / range);
            *out++ = grey;
            *out++ = grey;
            *out++ = grey;
        });
    });
}

void CILImage::display(int flip)
{
    const void* pixels = getPixelsForGL(flip);
    if (!pixels) return;
    // Draw only what the buffer holds: a cache left over from another size
    // (the sides changed through the base class) is not read past its end.
    const uint64_t channels = (m_glFormat == 6408) ? 4 : 3;
    const uint64_t needed = channels * m_width * m_height;
    if (!m_glRgbBufAdopted && needed > m_glRgbBufSize) return;

    // Rows are packed without padding: unpack byte by byte, and give the
    // caller back its pixel-store state.
    glPushClientAttrib(GL_CLIENT_PIXEL_STORE_BIT);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
    glPixelStorei(GL_UNPACK_SKIP_ROWS, 0);
    glPixelStorei(GL_UNPACK_SKIP_PIXELS, 0);
    glPixelStorei(GL_UNPACK_SWAP_BYTES, GL_FALSE);
    glDrawPixels(static_cast<GLsizei>(m_width), static_cast<GLsizei>(m_height), m_glFormat, GL_UNSIGNED_BYTE,
                 pixels);
    glPopClientAttrib();
}
