// Plain types of the motion graphics host's effect interface: numbers, result codes, geometry,
// pixels and images. These are our own declarations; nothing here depends on a host at hand.
//
// Numbers: "16.16" is a signed 32-bit word whose unit is 1/65536. Four-character codes hold the
// first character in the highest byte.
#pragma once

#include <cstdint>

using A_char = char;
using A_u_char = std::uint8_t;
using A_short = std::int16_t;
using A_u_short = std::uint16_t;
using A_long = std::int32_t;
using A_u_long = std::uint32_t;
using A_Boolean = std::uint8_t;  ///< 0 or 1
using A_FpLong = double;
using A_Err = A_long;

using PF_Boolean = A_Boolean;
using PF_Fixed = A_long;  ///< 16.16
using PF_FpLong = double;
using PF_FpShort = float;

/// Result of every command and callback, 0 for success.
using PF_Err = A_long;
enum : PF_Err {
    PF_Err_NONE = 0,
    PF_Err_OUT_OF_MEMORY = 4,
    PF_Err_INTERNAL_STRUCT_DAMAGED = 512,
    PF_Err_INVALID_INDEX = 513,
    PF_Err_UNRECOGNIZED_PARAM_TYPE = 514,
    PF_Err_INVALID_CALLBACK = 515,
    PF_Err_BAD_CALLBACK_PARAM = 516,  ///< also: a suite is missing
};

/// The host's handle to this effect instance; given back with every callback.
using PF_ProgPtr = struct PF_EffectReference*;

/// A four-character code as a number: fourCharCode("FXTC") is 0x46585443.
constexpr A_u_long fourCharCode(char const (&code)[5]) {
    return (static_cast<A_u_long>(static_cast<A_u_char>(code[0])) << 24) |
           (static_cast<A_u_long>(static_cast<A_u_char>(code[1])) << 16) |
           (static_cast<A_u_long>(static_cast<A_u_char>(code[2])) << 8) |
           static_cast<A_u_long>(static_cast<A_u_char>(code[3]));
}

/// Application ids that the effect tells apart.
constexpr A_u_long kAppAfterEffects = fourCharCode("FXTC");
constexpr A_u_long kAppPremierePro = fourCharCode("PrMr");
constexpr A_u_long kAppFinalCutPro = fourCharCode("KeyG");
constexpr A_u_long kAppMotion = fourCharCode("MOTN");
constexpr A_u_long kAppEvenSize = fourCharCode("Cbst");

/// A ratio such as a downsample factor or a pixel aspect; `den` is read as unsigned.
struct PF_RationalScale {
    A_long num;
    A_u_long den;
};

/// Interface version: of the host in PF_InData.
struct PF_SpecVersion {
    A_short major;
    A_short minor;
};

/// A host block; dereferencing it gives the bytes, which may move unless the handle is locked.
using PF_Handle = void**;

/// Pixel rectangle, 16 bits a side, half-open to the right and bottom.
struct PF_Rect {
    A_short top, left, bottom, right;
};

/// Pixel rectangle, 32 bits a side, half-open to the right and bottom.
struct PF_LRect {
    A_long left, top, right, bottom;
};

/// Integer point, pixels.
struct PF_Point {
    A_short v, h;
};

/// Point in 16.16 pixels.
struct PF_FixedPoint {
    PF_Fixed x, y;
};

/// 3 by 3 matrix, row vectors, pixels.
struct PF_FloatMatrix {
    float mat[3][3];
};

/// 8-bit colour or pixel, white 255.
struct PF_Pixel {
    A_u_char alpha, red, green, blue;
};
using PF_Pixel8 = PF_Pixel;

/// Deep pixel, white 32768.
struct PF_Pixel16 {
    A_u_short alpha, red, green, blue;
};

/// Float pixel, white 1.0.
struct PF_PixelFloat {
    float alpha, red, green, blue;
};

enum : A_long {
    PF_WorldFlag_DEEP = 1 << 0,       ///< 16-bit channels
    PF_WorldFlag_WRITEABLE = 1 << 1,  ///< the effect may write
};

enum : A_long {
    PF_NewWorldFlag_NONE = 0,
    PF_NewWorldFlag_CLEAR_PIXELS = 1 << 0,
    PF_NewWorldFlag_DEEP_PIXELS = 1 << 1,
};

/// An image of the host. It does not tell float from 8 bits by itself: "PF World Suite" does.
struct PF_LayerDef {
    A_long world_flags;   ///< PF_WorldFlag_*
    void* data;           ///< first pixel of the first row
    A_long rowbytes;      ///< bytes from one row to the next
    A_long width;         ///< pixels
    A_long height;        ///< rows
    PF_Rect extent_hint;  ///< the part that holds anything, pixels
    void* platform_ref;   ///< the host's own
    A_long origin_x;      ///< where this image's pixel (0, 0) lies in the layer, pixels
    A_long origin_y;
    PF_RationalScale pix_aspect_ratio;
    A_long dephault;  ///< for layer parameters: which layer is chosen at first
};
using PF_EffectWorld = PF_LayerDef;

/// Pixel format codes as "PF World Suite" answers them: compared as four characters in memory
/// order.
using PF_PixelFormat = A_u_long;
constexpr PF_PixelFormat pixelFormatInMemoryOrder(char const (&code)[5]) {
    return (static_cast<A_u_long>(static_cast<A_u_char>(code[3])) << 24) |
           (static_cast<A_u_long>(static_cast<A_u_char>(code[2])) << 16) |
           (static_cast<A_u_long>(static_cast<A_u_char>(code[1])) << 8) |
           static_cast<A_u_long>(static_cast<A_u_char>(code[0]));
}
constexpr PF_PixelFormat PF_PixelFormat_ARGB32 = pixelFormatInMemoryOrder("argb");  ///< 8 bits
constexpr PF_PixelFormat PF_PixelFormat_ARGB64 = pixelFormatInMemoryOrder("ae16");  ///< white 32768
constexpr PF_PixelFormat PF_PixelFormat_ARGB128 = pixelFormatInMemoryOrder("ae32");  ///< float
constexpr PF_PixelFormat PF_PixelFormat_BGRA32 = pixelFormatInMemoryOrder("bgra");   ///< 8 bits

/// Transfer modes of the host, the `xfer` of a PF_CompositeMode.
enum PF_Xfer_Mode : A_long {
    PF_Xfer_COPY = 0,
    PF_Xfer_BEHIND = 1,
    PF_Xfer_IN_FRONT = 2,
    PF_Xfer_DISSOLVE = 3,
    PF_Xfer_ADD = 4,
    PF_Xfer_MULTIPLY = 5,
    PF_Xfer_SCREEN = 6,
    PF_Xfer_OVERLAY = 7,
    PF_Xfer_SOFT_LIGHT = 8,
    PF_Xfer_HARD_LIGHT = 9,
    PF_Xfer_DARKEN = 10,
    PF_Xfer_LIGHTEN = 11,
    PF_Xfer_DIFFERENCE = 12,
    PF_Xfer_HUE = 13,
    PF_Xfer_SATURATION = 14,
    PF_Xfer_COLOR = 15,
    PF_Xfer_LUMINOSITY = 16,
    PF_Xfer_COLOR_DODGE = 23,
    PF_Xfer_COLOR_BURN = 24,
    PF_Xfer_EXCLUSION = 25,
};

/// How a source is laid over a destination by transfer_rect and transform_world.
struct PF_CompositeMode {
    PF_Xfer_Mode xfer;
    A_long rand_seed;
    A_u_char opacity;     ///< 0 to 255
    PF_Boolean rgb_only;  ///< leave the destination's alpha alone
    A_u_short opacitySu;  ///< 0 to 32768, read for deep images
};

/// A mask for transfer_rect and transform_world; this effect passes none.
struct PF_MaskWorld {
    PF_EffectWorld mask;
    PF_Point offset;
    A_long what_is_mask;
};

enum PF_Field : A_long { PF_Field_FRAME = 0, PF_Field_UPPER = 1, PF_Field_LOWER = 2 };
enum PF_Quality : A_long { PF_Quality_LO = 0, PF_Quality_HI = 1 };
enum PF_Stage : A_long {
    PF_Stage_DEVELOP = 0,
    PF_Stage_ALPHA = 1,
    PF_Stage_BETA = 2,
    PF_Stage_RELEASE = 3,
};

/// Version word of an effect: version in bits 19 to 21, subversion 15 to 18, bug-fix 11 to 14,
/// stage 9 and 10, build 0 to 8.
constexpr A_u_long effectVersion(A_u_long version, A_u_long subversion, A_u_long bugFix,
                                 PF_Stage stage, A_u_long build) {
    return (version << 19) | (subversion << 15) | (bugFix << 11) |
           (static_cast<A_u_long>(stage) << 9) | build;
}
