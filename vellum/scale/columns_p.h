// The tables that the row kernels walk along, made from those of ScaleInfo.
#pragma once

#include <vellum/scale/rowkernels_p.h>
#include <vellum/scale/scaleinfo_p.h>

namespace vellum::scale {

/// Owner of AreaColumns for the columns of an axis that shrinks.
class AreaTables
{
public:
    /// \return false when memory runs out
    [[nodiscard]] bool make(const ScaleInfo &info);

    /// Adds pairs where the source is wide enough for them, or checks that all columns are wide
    /// enough to go without.
    /// \return false when they are not, or memory runs out: use a form that needs no pairs
    [[nodiscard]] bool makePairs(const ScaleInfo &info);

    const AreaColumns &columns() const { return m_columns; }

private:
    AreaColumns m_columns = {};
    Array<Span> m_spans;
    Array<int> m_pairStarts;
    Array<quint32> m_pairWeights;
};

/// Owner of BlendColumns for the columns of an axis that grows.
///
/// The kernels do not walk over the source row itself but over one made from its columns
/// firstSource() to firstSource() + sourceCount() - 1, with one more pixel behind, so that also
/// the last column of the source, which is never blended, has a neighbour.
class BlendTables
{
public:
    /// \return false when memory runs out
    [[nodiscard]] bool make(const ScaleInfo &info);

    const BlendColumns &columns() const { return m_columns; }
    int firstSource() const { return m_firstSource; }
    int sourceCount() const { return m_sourceCount; }

private:
    BlendColumns m_columns = {};
    Array<int> m_starts;
    Array<quint16> m_weights;
    int m_firstSource = 0;
    int m_sourceCount = 0;
};

} // namespace vellum::scale
