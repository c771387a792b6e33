// Debugging dumps of a polygon to standard output: one line a vertex, one column a live field.
#include <cstdio>

#include "Transform/Common/QV_Poly/QV_Poly.h"

namespace {

constexpr char const* kFieldTitles[kPolyFieldCount] = {
    "   sx  ", "   sy  ", "   sz  ", "   sw  ", "   x   ", "   y   ", "   z   ",
    "   u   ", "   v   ", "   q   ", "   nx  ", "   ny  ", "   nz  "};

}  // namespace

void QV_Poly::poly_vert_label(char const* label, unsigned long mask) {
    std::printf("%s", label);
    for (int f = 0; f < kPolyFieldCount; ++f)
        if (mask & (1ul << f)) std::printf("%s", kFieldTitles[f]);
    std::printf("\n");
}

void QV_Poly::poly_vert_print(char const* label, QV_Poly_vert* v, unsigned long mask) {
    // Three fields a line; a line without a live field is left out, a field without a value is 0.
    for (int first = 0; first < kPolyFieldCount; first += 3) {
        double shown[3] = {};
        bool anyLive = false;
        for (int k = 0; k < 3 && first + k < kPolyFieldCount; ++k) {
            if (!(mask & (1ul << (first + k)))) continue;
            anyLive = true;
            shown[k] = v->fields()[first + k];
        }
        if (anyLive) std::printf("%s %6.1f %6.1f %6.2f\n", label, shown[0], shown[1], shown[2]);
    }
}

void QV_Poly::poly_print(char const* label, QV_Poly* p) {
    std::printf("%s: %d sides\n", label, p->m_n);
    poly_vert_label("        ", p->m_mask);
    for (int i = 0; i < p->m_n; ++i) {
        char title[24];
        std::snprintf(title, sizeof title, "   v[%d] ", i);
        poly_vert_print(title, &p->m_vert[i], p->m_mask);
    }
}
