// The small value types of the parameter layer.
#pragma once

namespace QVS {

/// A point; its unit is that of whoever holds it.
template <class T>
struct QVPointT {
    T x, y;

    bool operator==(QVPointT const&) const = default;
};

/// A colour in the host's channel order.
template <class T>
struct PixelARGB {
    T alpha, red, green, blue;

    bool operator==(PixelARGB const&) const = default;
};

}  // namespace QVS
