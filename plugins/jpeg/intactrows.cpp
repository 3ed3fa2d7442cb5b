#include "jpeg/intactrows.h"

#include <algorithm>

namespace vellum::plugin {

namespace {

unsigned int allComponents(const jpeg_decompress_struct &codec)
{
    return (1U << codec.num_components) - 1;
}

/// Those whose pixels the present scan begins. Scans of a progressive file that refine others, or
/// add detail to them, begin none.
unsigned int componentsBegun(const jpeg_decompress_struct &codec)
{
    if (codec.progressive_mode && (codec.Ss != 0 || codec.Ah != 0))
        return 0;
    unsigned int begun = 0;
    for (int i = 0; i < codec.comps_in_scan; ++i)
        begun |= 1U << codec.cur_comp_info[i]->component_index;
    return begun;
}

/// Whether a progressive file has told all bits of what it told anything of.
bool isRefined(const jpeg_decompress_struct &codec)
{
    if (!codec.coef_bits)
        return true;
    const int *const bits = &codec.coef_bits[0][0];
    return std::all_of(bits, bits + codec.num_components * DCTSIZE2,
                       [](int left) { return left <= 0; });
}

/// Output rows that need nothing from the rows of blocks that are being read now, nor from those
/// below.
unsigned int rowsAbove(const jpeg_decompress_struct &codec)
{
    const auto factor = static_cast<unsigned int>(codec.max_v_samp_factor);
    const unsigned int rows = codec.input_iMCU_row * factor * codec.scale_num;
    const unsigned int blended = factor > 1 ? 1 : 0; // takes some of its colour from below
    return rows > blended ? rows - blended : 0;
}

} // namespace

void IntactRows::noteWarning(const jpeg_decompress_struct &codec, int code, bool hasEnded)
{
    switch (code) {
    case JWRN_HIT_MARKER: // pixels are missing: all the rest, or up to the next restart
    case JWRN_MUST_RESYNC:
        if (hasEnded || codec.restart_interval == 0)
            breakOff(codec);
        m_isDamaged = true;
        break;
    case JWRN_JPEG_EOF: // not missed by Huffman decoding until it wants bits
        if (codec.arith_code)
            breakOff(codec);
        break;
    case JWRN_HUFF_BAD_CODE:
    case JWRN_ARITH_BAD_CODE:
        m_isDamaged = true;
        break;
    default: // of no consequence to pixels
        break;
    }
}

void IntactRows::noteScan(const jpeg_decompress_struct &codec)
{
    if (codec.input_scan_number == m_scan)
        return;
    m_scan = codec.input_scan_number;
    m_complete |= m_begun;
    m_begun = componentsBegun(codec);
}

void IntactRows::noteEndOfScans(const jpeg_decompress_struct &codec, bool hasEnded)
{
    if ((m_complete | m_begun) != allComponents(codec))
        limitTo(0);
    else if (hasEnded && !isRefined(codec))
        m_isDamaged = true;
}

void IntactRows::breakOff(const jpeg_decompress_struct &codec)
{
    m_isDamaged = true;
    if (m_scan == 0)
        limitTo(rowsAbove(codec));
    else if (m_complete != allComponents(codec)) // else all rows are there, if coarse
        limitTo((m_complete | m_begun) == allComponents(codec) ? rowsAbove(codec) : 0);
}

void IntactRows::limitTo(unsigned int rows)
{
    m_isDamaged = true;
    m_count = std::min(m_count, rows);
}

} // namespace vellum::plugin
