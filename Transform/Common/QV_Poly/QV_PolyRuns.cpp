// Runs that a scan puts off, and the clearing of what no run covers: what follows the walk.
//
//   row y     | cleared | edge, done | interior, put off | edge, done |  cleared  |
//             0       start                                          end        width
//
// Each row is visited once, by one thread of the team: what it clears and what it draws are in its
// cache together. A run is evaluated from its own start and no two rows share memory, so any number
// of threads gives the same bits. A small picture is done by the calling thread.
#include <cstring>

#include "Transform/Common/QV_Poly/QV_Poly.h"

void QV_Poly::beginRuns(int rows) {
    if (m_clearHeight > 0)
        m_rows = std::make_unique<QV_RowCover[]>(static_cast<std::size_t>(m_clearHeight));
    if (!m_useOpenMP) return;
    m_spans = std::make_unique_for_overwrite<LineRenderStruct[]>(
        static_cast<std::size_t>(rows > 0 ? rows : 0));
    m_spanCount = 0;
}

void QV_Poly::noteRow(int y, int start, int end) {
    if (!m_rows) return;
    QV_RowCover& row = m_rows[static_cast<std::size_t>(y - m_dstTop)];
    row.start = start;
    row.end = end;
}

void QV_Poly::putOff(LineRenderStruct const& line, int y) {
    if (m_rows) m_rows[static_cast<std::size_t>(y - m_dstTop)].span = m_spanCount;
    m_spans[static_cast<std::size_t>(m_spanCount++)] = line;
}

void QV_Poly::finishRow(int y) {
    QV_RowCover const& row = m_rows[static_cast<std::size_t>(y)];
    auto const bytes = [this](int pixels) {
        return static_cast<std::size_t>(pixels) * static_cast<std::size_t>(m_pixelBytes);
    };
    unsigned char* const dest = rowAddress(y + m_dstTop);
    std::memset(dest, 0, bytes(row.start));
    if (row.span >= 0) m_interiorFunc(m_lineArg, &m_spans[static_cast<std::size_t>(row.span)]);
    if (m_finishFunc && row.end > row.start)
        m_finishFunc(m_finishContext, dest + bytes(row.start), row.end - row.start);
    std::memset(dest + bytes(row.end), 0, bytes(m_clearWidth - row.end));
}

void QV_Poly::finishRuns() {
    int const rows = m_clearHeight, spans = m_spanCount;
    std::int64_t pixels = std::int64_t{rows} * m_clearWidth;
    if (!m_rows)
        for (int i = 0; i < spans; ++i) pixels += m_spans[static_cast<std::size_t>(i)].count;
    [[maybe_unused]] bool const isForTeam = m_useOpenMP && pixels >= kPixelsForTeam;
    if (m_rows) {
#pragma omp parallel for schedule(guided, 1) if (isForTeam)
        for (int y = 0; y < rows; ++y) finishRow(y);
    } else {
#pragma omp parallel for schedule(guided, 1) if (isForTeam)
        for (int i = 0; i < spans; ++i)
            m_interiorFunc(m_lineArg, &m_spans[static_cast<std::size_t>(i)]);
    }
    m_rows.reset();
    m_spans.reset();
    m_spanCount = 0;
}
