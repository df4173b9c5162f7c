// ILROIObject.cpp - region-of-interest masks.
#include "ILROIObject.h"
#include "ILInternal.h"

#include <cstdlib>
#include <cstring>

#define IL_ASSERT_SOURCE L"ImageLib/Source/ILROIObject"

namespace {
const unsigned char kInside = 1;
const unsigned char kAllInside = 255;
} // namespace

CILROIObject::CILROIObject()
    : m_masktype(static_cast<QORImageMaskTypes>(0)), m_masksize_bytes(0), m_maskheight(0), m_maskwidth(0),
      m_maskdata(nullptr)
{
}

CILROIObject::CILROIObject(const CILROIObject& right) : CILROIObject()
{
    initMask(right.m_masktype, static_cast<int>(right.m_maskwidth), static_cast<int>(right.m_maskheight), 0);
    IL_ASSERT(this->m_masksize_bytes == right.m_masksize_bytes);
    // Copy only what both blocks hold (a refused kind leaves this one empty).
    if (m_maskdata && right.m_maskdata) {
        const uint32_t bytes = m_masksize_bytes < right.m_masksize_bytes ? m_masksize_bytes : right.m_masksize_bytes;
        if (bytes) std::memcpy(m_maskdata, right.m_maskdata, bytes);
    }
}

CILROIObject::~CILROIObject()
{
    releaseData();
}

void CILROIObject::releaseData()
{
    std::free(m_maskdata);
    m_maskdata = nullptr;
}

bool CILROIObject::initMask(QORImageMaskTypes kind, int width, int height, int fillAll)
{
    releaseData();
    if (kind == eBitMask) {
        ILReportAssertion(L"1==0", IL_ASSERT_SOURCE, __LINE__);
        m_masktype = eBitMask;
        m_masksize_bytes = 0;
        return false;
    }
    if (kind != eByteMask) {
        m_masksize_bytes = 0;
        return true;
    }
    // The size is a 32-bit count: refuse sides whose product would wrap.
    if (width < 0 || height < 0) return false;
    const uint64_t bytes = static_cast<uint64_t>(width) * static_cast<uint64_t>(height);
    if (bytes > UINT32_MAX) return false;
    m_maskdata = static_cast<unsigned char*>(std::malloc(bytes ? bytes : 1));
    if (!m_maskdata) return false;
    std::memset(m_maskdata, fillAll ? kAllInside : 0, bytes);
    m_maskwidth = static_cast<uint32_t>(width);
    m_maskheight = static_cast<uint32_t>(height);
    m_masksize_bytes = static_cast<uint32_t>(bytes);
    m_masktype = kind;
    return true;
}

bool CILROIObject::AddMask(const CILROIObject& someothermask)
{
    if (!m_maskdata) return false;
    IL_ASSERT(someothermask.m_masktype == m_masktype);
    if (m_masktype == eBitMask) {
        ILReportAssertion(L"1==0", IL_ASSERT_SOURCE, __LINE__);
        return true;
    }
    if (m_masktype != eByteMask || m_maskwidth == 0 || m_maskheight == 0) return true;

    const uint64_t otherWidth = someothermask.m_maskwidth;
    const uint64_t lastColumn = otherWidth < m_maskwidth - 1u ? otherWidth : m_maskwidth - 1u;
    const uint64_t lastRow =
        someothermask.m_maskheight < m_maskheight - 1u ? someothermask.m_maskheight : m_maskheight - 1u;
    const uint64_t otherBytes = someothermask.m_maskdata ? someothermask.m_masksize_bytes : 0;
    for (uint64_t r = 0; r <= lastRow; ++r) {
        for (uint64_t c = 0; c <= lastColumn; ++c) {
            // The inclusive bounds step one cell past a smaller mask: such
            // cells lie outside its data and count as outside.
            const uint64_t from = r * otherWidth + c;
            const uint64_t to = r * m_maskwidth + c;
            if (from < otherBytes && to < m_masksize_bytes && someothermask.m_maskdata[from] != 0)
                m_maskdata[to] = kInside;
        }
    }
    return true;
}

bool CILROIObject::AddMaskRect(int left, int top, int right, int bottom, int value)
{
    if (!m_maskdata) return false;
    if (m_masktype != eByteMask) return true;
    const unsigned char cell = value ? kInside : 0;
    const int64_t widthLimit = static_cast<int64_t>(m_maskwidth) - 2 > 0 ? static_cast<int64_t>(m_maskwidth) - 2 : 0;
    const int64_t heightLimit = static_cast<int64_t>(m_maskheight) - 2 > 0 ? static_cast<int64_t>(m_maskheight) - 2 : 0;
    const int64_t firstColumn = left > 0 ? left : 0;
    const int64_t firstRow = top > 0 ? top : 0;
    const int64_t lastColumn = right < widthLimit ? right : widthLimit;
    const int64_t lastRow = bottom < heightLimit ? bottom : heightLimit;
    if (firstRow > lastRow) return true;
    for (int64_t row = firstRow; row <= lastRow; ++row) {
        if (firstColumn > lastColumn) continue;
        const uint64_t start = static_cast<uint64_t>(row) * m_maskwidth + static_cast<uint64_t>(firstColumn);
        const uint64_t count = static_cast<uint64_t>(lastColumn - firstColumn + 1);
        if (start + count > m_masksize_bytes) break;  // a mask whose sides outgrew its data
        std::memset(m_maskdata + start, cell, count);
    }
    return true;
}

bool CILROIObject::ClearMask()
{
    if (!m_maskdata) return false;
    if (m_masktype == eByteMask || m_masktype == eBitMask) std::memset(m_maskdata, 0, m_masksize_bytes);
    return true;
}

bool CILROIObject::MaskAll()
{
    if (!m_maskdata) return false;
    if (m_masktype == eByteMask || m_masktype == eBitMask) std::memset(m_maskdata, kAllInside, m_masksize_bytes);
    return true;
}

bool CILROIObject::InvertMask()
{
    if (!m_maskdata) return false;
    if (m_masktype == eByteMask) {
        for (uint32_t i = 0; i < m_masksize_bytes; ++i) m_maskdata[i] ^= kInside;
    } else if (m_masktype == eBitMask) {
        // Bytes per row come from the size and the height; a height of 0
        // would divide by zero and is refused.
        if (m_maskheight == 0) return false;
        const uint64_t rowBytes = m_masksize_bytes / m_maskheight;
        const uint64_t total = rowBytes * m_maskheight;
        for (uint64_t i = 0; i < total; ++i) m_maskdata[i] = static_cast<unsigned char>(~m_maskdata[i]);
    }
    return true;
}
