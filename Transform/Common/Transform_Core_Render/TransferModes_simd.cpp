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

/// Colours from 0 to 1 in units of `white`, as saturatingInt cuts them.
template <class DI>
HWY_INLINE hn::Vec<DI> truncated(DI d, float const* units, int white) {
    const hn::Rebind<float, DI> df;
    auto const far = hn::Set(df, 1073741824.0f);  // 2^30
    auto const v = hn::Mul(hn::LoadU(df, units), hn::Set(df, static_cast<float>(white)));
    auto const number = hn::IfThenElse(hn::Eq(v, v), v, hn::Zero(df));
    return hn::ConvertTo(d, hn::Min(hn::Max(number, hn::Neg(far)), far));
}

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
    static HWY_INLINE V fromUnits(float const* p) { return truncated(D(), p, kWhite); }
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
    static HWY_INLINE V fromUnits(float const* p) {
        return hn::PromoteTo(D(), truncated(hn::Rebind<std::int32_t, D>(), p, kWhite));
    }
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
    static HWY_INLINE V fromUnits(float const* p) { return hn::LoadU(D(), p); }
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

/// `formula()` gives the mode's colours.
template <class A, class Formula>
HWY_INLINE typename A::V standard(Pair<A> const& p, Formula formula) {
    auto const none = A::set(0), white = A::set(A::kWhite);
    auto const isClear = hn::Eq(p.fa, none);
    if (hn::AllTrue(typename A::D(), isClear)) return p.background;
    auto m = formula();
    m = hn::IfThenElse(hn::Lt(p.ba, white), crossFaded<A>(p.f, m, p.ba), m);
    auto const isCovered = hn::Gt(p.ba, none);
    m = hn::IfThenElse(isCovered, m, p.f);
    m = overBackground(p, m, A::kIsFloat ? differ(p.ba, none) : isCovered);
    return hn::IfThenElse(isClear, p.background, A::limited(m));
}

template <class A, auto Formula>
struct Standard {
    static HWY_INLINE typename A::V colour(Pair<A> const& p) {
        return standard(p, [&]() HWY_ATTR { return Formula(p.f, p.b); });
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

// ---- Hue and its kin, as in BlendHue.h: colours from 0 to 1, a vector for each channel

using DF = hn::ScalableTag<float>;
using VF = hn::Vec<DF>;
constexpr int kHuePixels = static_cast<int>(hn::MaxLanes(DF()));

HWY_INLINE VF real(float x) { return hn::Set(DF(), x); }

struct Unit {
    VF red, green, blue;

    HWY_INLINE VF luma() const {
        return hn::Add(hn::Add(hn::Mul(real(0.299f), red), hn::Mul(real(0.587f), green)),
                       hn::Mul(real(0.114f), blue));
    }
};

struct Parts {
    VF sector, fraction, saturation, luma;  ///< the sector is a whole number
};

HWY_INLINE Parts analysed(Unit const& c) {
    const VF zero = real(0), nothing = real(0.0001f);
    VF mx = hn::IfThenElse(hn::Lt(c.red, c.green), c.green, c.red);
    mx = hn::IfThenElse(hn::Lt(mx, c.blue), c.blue, mx);
    VF mn = hn::IfThenElse(hn::Lt(c.green, c.red), c.green, c.red);
    mn = hn::IfThenElse(hn::Lt(c.blue, mn), c.blue, mn);
    const VF d = hn::Sub(mx, mn), sum = hn::Add(mx, mn);
    const VF s = hn::IfThenElse(hn::Ge(sum, real(1)), hn::Sub(real(2), d), sum);

    auto const isRed = hn::Eq(mx, c.red), isGreen = hn::Eq(mx, c.green);
    VF far = hn::IfThenElse(isGreen, hn::Sub(c.blue, c.red), hn::Sub(c.red, c.green));
    far = hn::Div(hn::IfThenElse(isRed, hn::Sub(c.green, c.blue), far), d);
    const VF turned = hn::Add(far, hn::IfThenElse(isGreen, real(2), real(4)));
    VF hue = hn::IfThenElse(isRed, far, turned);
    hue = hn::IfThenElse(hn::Lt(hue, zero), hn::Add(hue, real(6)), hue);
    const VF sector = hn::IfThenElse(hn::Eq(hue, hue), hn::Add(hn::Trunc(hue), zero), zero);

    auto const isBlack = hn::Lt(mx, nothing);
    auto const isGrey = hn::Or(isBlack, hn::Lt(d, nothing));
    auto const coloured = [=](VF v) HWY_ATTR { return hn::IfThenElse(isGrey, zero, v); };
    return {coloured(sector), coloured(hn::Sub(hue, sector)),
            coloured(hn::Mul(hn::Div(d, s), real(0.5f))), hn::IfThenElse(isBlack, zero, c.luma())};
}

HWY_INLINE Unit sectorColour(Parts const& p) {
    const VF hi = hn::Add(p.saturation, real(0.5f)), lo = hn::Sub(real(1), hi);
    const VF span = hn::Sub(hi, lo);
    const VF rising = hn::Add(lo, hn::Mul(p.fraction, span));
    const VF falling = hn::Add(hn::Mul(span, hn::Sub(real(1), p.fraction)), lo);
    auto const in = [&p](float sector, VF yes, VF no) HWY_ATTR {
        return hn::IfThenElse(hn::Eq(p.sector, real(sector)), yes, no);
    };
    return {in(1, falling, in(2, lo, in(3, lo, in(4, rising, hi)))),
            in(0, rising, in(1, hi, in(2, hi, in(3, falling, lo)))),
            in(0, lo, in(1, lo, in(2, rising, in(3, hi, in(4, hi, falling)))))};
}

HWY_INLINE Unit synthesised(Parts const& p) {
    const Unit c = sectorColour(p);
    const VF l = c.luma(), one = real(1);
    auto const rises = hn::Lt(l, p.luma);
    const VF k = hn::Div(hn::IfThenElse(rises, hn::Sub(one, p.luma), p.luma),
                         hn::IfThenElse(rises, hn::Sub(one, l), l));
    auto const brought = [=](VF v) HWY_ATTR {
        const VF raised = hn::Sub(one, hn::Mul(hn::Sub(one, v), k));
        return hn::IfThenElse(rises, raised, hn::Mul(v, k));
    };
    return {brought(c.red), brought(c.green), brought(c.blue)};
}

/// A choice of parts: true takes the foreground's.
template <bool Hue, bool Saturation, bool Luma>
struct Take {
    static HWY_INLINE Parts of(Parts const& f, Parts const& b) {
        return {Hue ? f.sector : b.sector, Hue ? f.fraction : b.fraction,
                Saturation ? f.saturation : b.saturation, Luma ? f.luma : b.luma};
    }
};

/// The colours of kHuePixels pixels. Alpha is first before red, or last after it, the other way.
template <class T>
HWY_INLINE Unit loadUnits(T const* p, int alpha) {
    using A = Arithmetic<T>;
    alignas(64) float units[4 * kHuePixels];
    for (int c = 0; c < 4 * kHuePixels; c += kHuePixels) {
        if constexpr (A::kIsFloat) {
            hn::Store(A::raised(hn::LoadU(DF(), p + c)), DF(), units + c);
        } else {
            const hn::RebindToSigned<DF> di;
            auto const v = hn::PromoteTo(di, hn::LoadU(hn::Rebind<T, DF>(), p + c));
            hn::Store(hn::Div(hn::ConvertTo(DF(), v), real(A::kWhite)), DF(), units + c);
        }
    }
    VF c0, c1, c2, c3;
    hn::LoadInterleaved4(DF(), units, c0, c1, c2, c3);
    return alpha == 0 ? Unit{c1, c2, c3} : Unit{c2, c1, c0};
}

// ---- Rows

/// Blends one vector of channels, from the row's channel `c` on; `colour(pair)` gives its colours.
template <class T, bool OpaqueKeepsAlpha, class Colour>
HWY_INLINE void blendVector(BlendRows<T> const& r, int c, Colour colour) {
    using A = Arithmetic<T>;
    const typename A::D d;
    const hn::RebindToSigned<typename A::D> di;
    auto const place = hn::And(hn::Iota(di, 0), hn::Set(di, 3));
    auto const isAlpha = hn::RebindMask(d, hn::Eq(place, hn::Set(di, r.alpha)));
    auto const white = A::set(A::kWhite);
    Pair<A> const pair(A::load(r.foreground + c, r.alpha, r.options.foregroundOpacity),
                       A::load(r.background + c, r.alpha, r.options.backgroundOpacity));
    auto result = hn::IfThenElse(isAlpha, pair.ra, colour(pair));
    if constexpr (OpaqueKeepsAlpha)
        result = hn::IfThenElse(hn::Eq(pair.ba, white), pair.background, result);
    if (r.options.whiteAlpha) result = hn::IfThenElse(isAlpha, white, result);
    A::store(result, r.destination + c);
}

template <class T, class Mode, bool OpaqueKeepsAlpha = false>
HWY_INLINE int blendRows(BlendRows<T> const& r) {
    constexpr int kCount = Arithmetic<T>::kCount;
    int c = 0;
    for (; c + kCount <= 4 * r.width; c += kCount)
        blendVector<T, OpaqueKeepsAlpha>(r, c, Mode::colour);
    return c / 4;
}

template <class T, class Choice>
HWY_INLINE int blendHueRows(BlendRows<T> const& r) {
    using A = Arithmetic<T>;
    int x = 0;
    for (; x + kHuePixels <= r.width; x += kHuePixels) {
        const Unit mixed =
            synthesised(Choice::of(analysed(loadUnits(r.foreground + 4 * x, r.alpha)),
                                   analysed(loadUnits(r.background + 4 * x, r.alpha))));
        alignas(64) float units[4 * kHuePixels];
        if (r.alpha == 0)
            hn::StoreInterleaved4(real(0), mixed.red, mixed.green, mixed.blue, DF(), units);
        else
            hn::StoreInterleaved4(mixed.blue, mixed.green, mixed.red, real(0), DF(), units);
        for (int c = 0; c < 4 * kHuePixels; c += A::kCount)
            blendVector<T, false>(r, 4 * x + c, [&](Pair<A> const& p) HWY_ATTR {
                return standard(p, [&]() HWY_ATTR { return A::fromUnits(units + c); });
            });
    }
    return x;
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
            case VectorMode::kHue:
                return blendHueRows<T, Take<true, false, false>>(r);
            case VectorMode::kSaturation:
                return blendHueRows<T, Take<false, true, false>>(r);
            case VectorMode::kColor:
                return blendHueRows<T, Take<true, true, false>>(r);
            case VectorMode::kLuminosity:
                return blendHueRows<T, Take<false, false, true>>(r);
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
