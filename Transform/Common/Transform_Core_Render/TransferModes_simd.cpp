// The vector twin of Blend.h: skeletons of BlendSkeletons.h and formulas of BlendFormulas.h, where
// both sides of a question are computed and one is chosen.
//
// A pixel stands in four lanes, so that its alpha, once spread over them, meets each colour; what
// comes out in the alpha's own lane is replaced. Lanes:
//
//   8 bits   int32; numerators stay below 2^24, so they are exact floats
//   15 bits  double, which holds every sum and product: they stay below 2^47. Vectors hold whole
//            pixels from AVX2 on; below it the scalar code does it all
//   float    float
//
// A quotient of whole numbers is a real one, truncated. Where it is not cut to white at once it is
// below 2^16 (8 bits) or 2^32 (15 bits), and one that is not whole lies further from the next whole
// number, 1 / divisor, than a rounding reaches.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Transform/Common/Transform_Core_Render/TransferModes_simd.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <cstdint>

#include "Transform/Common/PixelTraits.h"
#include "Transform/Common/Transform_Core_Render/TransferModesSimd.h"

HWY_BEFORE_NAMESPACE();
namespace blend_simd {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128 || HWY_HAVE_SCALABLE || !HWY_HAVE_FLOAT64

template <class T>
HWY_INLINE int blendByMode(VectorMode, BlendRows<T> const&) {
    return 0;
}

#else

// ---- Numbers, as in BlendArithmetic.h

/// Alpha in all lanes of its pixel; vectors hold whole pixels.
template <class V>
HWY_INLINE V spread(V raw, int alpha) {
    if constexpr (hn::MaxLanes(hn::DFromV<V>()) >= 4)
        return alpha == 0 ? hn::Broadcast<0>(raw) : hn::Broadcast<3>(raw);
    else
        return raw;
}

/// True for what is no number, as in scalar code; of hn::Ne that depends on the instruction set.
template <class V>
HWY_INLINE auto differ(V x, V y) {
    return hn::Not(hn::Eq(x, y));
}

template <class Lane>
struct Lanes {
    using D = hn::ScalableTag<Lane>;
    using V = hn::Vec<D>;
    using M = hn::Mask<D>;
    struct Pixels {
        V raw, alpha;  ///< as they stand; alpha with its opacity, in all lanes of its pixel
    };
    static constexpr int kCount = static_cast<int>(hn::MaxLanes(D()));
    static HWY_INLINE V set(int v) { return hn::Set(D(), static_cast<Lane>(v)); }
    static HWY_INLINE V limited(V x, int white) { return hn::Min(hn::Max(x, set(0)), set(white)); }
};

template <class T>
struct Arithmetic;

template <>
struct Arithmetic<std::uint8_t> : Lanes<std::int32_t> {
    static constexpr bool kIsFloat = false;
    static constexpr int kWhite = 255;
    static HWY_INLINE V middle() { return set(127); }

    static HWY_INLINE Pixels load(std::uint8_t const* p, int alpha, float opacity) {
        const hn::Rebind<float, D> df;
        const V raw = hn::PromoteTo(D(), hn::LoadU(hn::Rebind<std::uint8_t, D>(), p));
        auto const a = hn::ConvertTo(df, spread(raw, alpha));
        return {raw, hn::ConvertTo(D(), hn::Mul(a, hn::Set(df, opacity)))};
    }
    static HWY_INLINE void store(V v, std::uint8_t* p) {
        const hn::Rebind<std::uint8_t, D> d;
        hn::StoreU(hn::DemoteTo(d, v), d, p);
    }
    static HWY_INLINE V mul(V x, V y) {
        return hn::ShiftRight<8>(hn::Add(hn::Mul(x, y), set(128)));
    }
    static HWY_INLINE V quotient(V x, V y) {
        const hn::Rebind<float, D> df;
        return hn::ConvertTo(D(), hn::Div(hn::ConvertTo(df, x), hn::ConvertTo(df, y)));
    }
    static HWY_INLINE V limited(V x) { return Lanes::limited(x, kWhite); }
    static HWY_INLINE V raised(V x) { return x; }
};

template <>
struct Arithmetic<std::uint16_t> : Lanes<double> {
    static constexpr bool kIsFloat = false;
    static constexpr int kWhite = 32768;
    static HWY_INLINE V middle() { return set(16384); }

    static HWY_INLINE Pixels load(std::uint16_t const* p, int alpha, float opacity) {
        const hn::Rebind<float, D> df;
        const hn::Rebind<std::int32_t, D> di;
        auto const raw = hn::PromoteTo(di, hn::LoadU(hn::Rebind<std::uint16_t, D>(), p));
        auto const a = hn::ConvertTo(df, spread(raw, alpha));
        auto const product = hn::ConvertTo(di, hn::Mul(a, hn::Set(df, opacity)));
        return {hn::PromoteTo(D(), raw), hn::PromoteTo(D(), product)};
    }
    static HWY_INLINE void store(V v, std::uint16_t* p) {
        const hn::Rebind<std::uint16_t, D> d;
        hn::StoreU(hn::DemoteTo(d, hn::DemoteTo(hn::Rebind<std::int32_t, D>(), v)), d, p);
    }
    static HWY_INLINE V mul(V x, V y) {
        auto const sum = hn::Add(hn::Mul(x, y), set(16384));
        return hn::Floor(hn::Mul(sum, hn::Set(D(), 1.0 / 32768)));
    }
    static HWY_INLINE V quotient(V x, V y) { return hn::Trunc(hn::Div(x, y)); }
    static HWY_INLINE V limited(V x) { return Lanes::limited(x, kWhite); }
    static HWY_INLINE V raised(V x) { return x; }
};

template <>
struct Arithmetic<float> : Lanes<float> {
    static constexpr bool kIsFloat = true;
    static constexpr int kWhite = 1;
    static HWY_INLINE V middle() { return hn::Set(D(), 0.5f); }

    static HWY_INLINE Pixels load(float const* p, int alpha, float opacity) {
        const V raw = hn::LoadU(D(), p);
        return {raw, hn::Mul(spread(raw, alpha), hn::Set(D(), opacity))};
    }
    static HWY_INLINE void store(V v, float* p) { hn::StoreU(v, D(), p); }
    static HWY_INLINE V mul(V x, V y) { return hn::Mul(x, y); }
    static HWY_INLINE V quotient(V x, V y) { return hn::Div(x, y); }
    static HWY_INLINE V limited(V x) { return x; }
    static HWY_INLINE V raised(V x) { return hn::IfThenElse(hn::Lt(x, set(0)), set(0), x); }
};

template <class A>
struct Pair {
    using V = typename A::V;
    V foreground, background;  ///< as they stand
    V f, b, fa, ba, ra;        ///< see BlendPair

    HWY_INLINE Pair(typename A::Pixels const& front, typename A::Pixels const& back)
        : foreground(front.raw),
          background(back.raw),
          f(A::raised(front.raw)),
          b(A::raised(back.raw)),
          fa(front.alpha),
          ba(back.alpha),
          ra(A::limited(hn::Sub(hn::Add(fa, ba), A::mul(fa, ba)))) {}
};

// ---- Formulas, as in BlendFormulas.h

template <class A>
struct Formulas {
    using V = typename A::V;
    static HWY_INLINE V white() { return A::set(A::kWhite); }
    static HWY_INLINE V rest(V x) { return hn::Sub(white(), x); }
    static HWY_INLINE V twice(V x) { return hn::Add(x, x); }

    static HWY_INLINE V normal(V f, V) { return f; }
    static HWY_INLINE V multiply(V f, V b) { return A::mul(b, f); }
    static HWY_INLINE V screen(V f, V b) { return rest(A::mul(rest(b), rest(f))); }
    static HWY_INLINE V overlay(V f, V b) {
        const V upper = hn::Add(A::mul(rest(b), hn::Sub(twice(f), white())), b);
        return hn::IfThenElse(hn::Lt(b, A::middle()), A::mul(twice(b), f), upper);
    }
    static HWY_INLINE V softLight(V f, V b) {
        return hn::Add(A::mul(hn::Sub(white(), twice(f)), hn::Sub(A::mul(b, b), b)), b);
    }
    static HWY_INLINE V hardLight(V f, V b) {
        const V upper = rest(A::mul(twice(rest(f)), rest(b)));
        return hn::IfThenElse(hn::Lt(f, A::middle()), A::mul(twice(f), b), upper);
    }
    static HWY_INLINE V darken(V f, V b) { return hn::IfThenElse(hn::Lt(b, f), b, f); }
    static HWY_INLINE V lighten(V f, V b) { return hn::IfThenElse(hn::Lt(f, b), b, f); }
    static HWY_INLINE V exclusion(V f, V b) {
        return hn::Add(A::mul(hn::Sub(white(), twice(b)), f), b);
    }
    static HWY_INLINE V colorDodge(V f, V b) {
        const V dodged = A::quotient(hn::Mul(b, white()), rest(f));
        return hn::IfThenElse(hn::Lt(f, white()), dodged, f);
    }
    static HWY_INLINE V colorBurn(V f, V b) {
        V burnt = rest(A::quotient(hn::Mul(rest(b), white()), f));
        if constexpr (!A::kIsFloat) burnt = hn::Max(burnt, A::set(0));
        return hn::IfThenElse(hn::Eq(f, A::set(0)), A::set(0), burnt);
    }

    // Of the combining modes, whose third argument is the alpha of both.
    static HWY_INLINE V sum(V f, V b, V ra) {
        const V both = hn::Add(f, b);
        return A::kIsFloat ? both : hn::Min(ra, both);
    }
    static HWY_INLINE V difference(V f, V b, V) {
        return hn::IfThenElse(hn::Lt(b, f), hn::Sub(f, b), hn::Sub(b, f));
    }
};

// ---- Skeletons, as in BlendSkeletons.h; colours only

template <class A, class V = typename A::V>
HWY_INLINE V crossFaded(V below, V above, V alpha) {
    return hn::Add(A::mul(below, Formulas<A>::rest(alpha)), A::mul(above, alpha));
}

/// n W / divisor, 0 where the divisor is.
template <class A, class V = typename A::V>
HWY_INLINE V shareOfWhite(V n, V divisor) {
    const V q = A::quotient(hn::Mul(n, A::set(A::kWhite)), divisor);
    return hn::IfThenElse(hn::Eq(divisor, A::set(0)), A::set(0), q);
}

/// m laid over the background where the foreground is see-through and `hasBackground` is set.
template <class A, class V = typename A::V, class M = typename A::M>
HWY_INLINE V overBackground(Pair<A> const& p, V m, M hasBackground) {
    const typename A::D d;
    const V white = A::set(A::kWhite);
    const M seeThrough = A::kIsFloat ? differ(p.fa, white) : hn::Lt(p.fa, white);
    const M shows = hn::And(seeThrough, hasBackground);
    if (hn::AllFalse(d, shows)) return m;
    const V w = A::mul(p.ba, hn::Sub(white, p.fa));
    const V both = hn::Add(A::mul(m, p.fa), A::mul(p.b, w));
    return hn::IfThenElse(shows, shareOfWhite<A>(both, hn::Add(w, p.fa)), m);
}

template <class A, auto Formula>
struct Standard {
    static HWY_INLINE typename A::V colour(Pair<A> const& p) {
        auto const none = A::set(0), white = A::set(A::kWhite);
        auto const isClear = hn::Eq(p.fa, none);
        if (hn::AllTrue(typename A::D(), isClear)) return p.background;
        auto m = Formula(p.f, p.b);
        m = hn::IfThenElse(hn::Lt(p.ba, white), crossFaded<A>(p.f, m, p.ba), m);
        auto const isCovered = hn::Gt(p.ba, none);
        m = hn::IfThenElse(isCovered, m, p.f);
        m = overBackground(p, m, A::kIsFloat ? differ(p.ba, none) : isCovered);
        return hn::IfThenElse(isClear, p.background, A::limited(m));
    }
};

template <class A, auto Combine>
struct Combining {
    static HWY_INLINE typename A::V weighted(typename A::V c, typename A::V alpha) {
        return hn::IfThenElse(hn::Eq(alpha, A::set(A::kWhite)), c, A::mul(c, alpha));
    }
    static HWY_INLINE typename A::V colour(Pair<A> const& p) {
        auto const none = A::set(0);
        auto const isClear = hn::Eq(p.fa, none);
        if (hn::AllTrue(typename A::D(), isClear)) return p.background;
        auto m = shareOfWhite<A>(Combine(weighted(p.f, p.fa), weighted(p.b, p.ba), p.ra), p.ra);
        m = hn::IfThenElse(hn::Gt(p.ba, none), m, p.f);
        return hn::IfThenElse(isClear, p.background, A::limited(m));
    }
};

template <class A>
struct Behind {
    static HWY_INLINE typename A::V colour(Pair<A> const& p) {
        auto m = crossFaded<A>(p.f, p.b, p.ba);
        auto const isClear = hn::Eq(p.ba, A::set(0));
        m = overBackground(p, m, hn::Not(isClear));
        return hn::IfThenElse(isClear, p.foreground, A::limited(m));
    }
};

// ---- Rows

template <class T, class Mode, bool OpaqueKeepsAlpha = false>
HWY_INLINE int blendRows(BlendRows<T> const& r) {
    using A = Arithmetic<T>;
    const hn::RebindToSigned<typename A::D> di;
    auto const place = hn::And(hn::Iota(di, 0), hn::Set(di, 3));
    auto const isAlpha = hn::RebindMask(typename A::D(), hn::Eq(place, hn::Set(di, r.alpha)));
    auto const white = A::set(A::kWhite);
    int const channels = 4 * r.width;
    int c = 0;
    for (; c + A::kCount <= channels; c += A::kCount) {
        Pair<A> const pair(A::load(r.foreground + c, r.alpha, r.options.foregroundOpacity),
                           A::load(r.background + c, r.alpha, r.options.backgroundOpacity));
        auto result = hn::IfThenElse(isAlpha, pair.ra, Mode::colour(pair));
        if constexpr (OpaqueKeepsAlpha)
            result = hn::IfThenElse(hn::Eq(pair.ba, white), pair.background, result);
        if (r.options.whiteAlpha) result = hn::IfThenElse(isAlpha, white, result);
        A::store(result, r.destination + c);
    }
    return c / 4;
}

template <class T>
HWY_INLINE int blendByMode(VectorMode mode, BlendRows<T> const& r) {
    using A = Arithmetic<T>;
    using F = Formulas<A>;
    if constexpr (A::kCount >= 4) switch (mode) {
#define ZELK_STANDARD(MODE, FORMULA) \
    case VectorMode::MODE:           \
        return blendRows<T, Standard<A, F::FORMULA>>(r);
            ZELK_STANDARD(kNormal, normal)
            ZELK_STANDARD(kMultiply, multiply)
            ZELK_STANDARD(kScreen, screen)
            ZELK_STANDARD(kOverlay, overlay)
            ZELK_STANDARD(kSoftLight, softLight)
            ZELK_STANDARD(kHardLight, hardLight)
            ZELK_STANDARD(kDarken, darken)
            ZELK_STANDARD(kLighten, lighten)
            ZELK_STANDARD(kExclusion, exclusion)
            ZELK_STANDARD(kColorDodge, colorDodge)
            ZELK_STANDARD(kColorBurn, colorBurn)
#undef ZELK_STANDARD
            case VectorMode::kAdd:
                return blendRows<T, Combining<A, F::sum>>(r);
            case VectorMode::kDifference:
                return blendRows<T, Combining<A, F::difference>>(r);
            case VectorMode::kBehind:
                return blendRows<T, Behind<A>, true>(r);
            case VectorMode::kNone:
                break;
        }
    return 0;
}

#endif  // scalar

int blend8(VectorMode mode, BlendRows<std::uint8_t> const& r) { return blendByMode(mode, r); }
int blend16(VectorMode mode, BlendRows<std::uint16_t> const& r) { return blendByMode(mode, r); }
int blendFloat(VectorMode mode, BlendRows<float> const& r) { return blendByMode(mode, r); }

}  // namespace HWY_NAMESPACE
}  // namespace blend_simd
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace {
/// Within 0..1 an alpha with its opacity fits a lane of any format.
bool isFraction(float opacity) { return opacity >= 0 && opacity <= 1; }
}  // namespace

#define ZELK_BLEND(T, NAME)                                                                   \
    namespace blend_simd {                                                                    \
    HWY_EXPORT(blend##NAME);                                                                  \
    }                                                                                         \
    template <>                                                                               \
    int blendVectors(VectorMode mode, BlendRows<T> const& rows) {                             \
        BlendOptions const& options = rows.options;                                           \
        if (!isFraction(options.foregroundOpacity) || !isFraction(options.backgroundOpacity)) \
            return 0;                                                                         \
        return HWY_DYNAMIC_DISPATCH(blend_simd::blend##NAME)(mode, rows);                     \
    }
ZELK_BLEND(unsigned char, 8)
ZELK_BLEND(unsigned short, 16)
ZELK_BLEND(float, Float)
#endif  // HWY_ONCE
