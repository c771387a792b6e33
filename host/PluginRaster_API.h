// PluginRaster_API: one image as the render code sees it, whatever host owns the pixels.
//
// Space: pixel coordinates, x right, y down, (0, 0) the first pixel of the first row.
// A raster object never says how its channels are laid out; PluginHost_API::getRasterInfo does.
// Lifetime: the caller who got a raster object deletes it. Whether the pixels go with it
// depends on where it came from; see PluginHost_API.
#pragma once

class PluginHost_API;
class PluginRaster_AE_Impl;
struct QV_RasterInfo;

class PluginRaster_API {
public:
    /// Depth class of an image: how wide a channel is and where white lies.
    enum PixelType : int {
        kPixelType8 = 0,      ///< 8 bits a channel, white 255
        kPixelType15 = 1,     ///< 16 bits a channel, white 32768
        kPixelType14 = 2,     ///< 16 bits a channel, white 16384
        kPixelType16 = 3,     ///< 16 bits a channel, white 65535
        kPixelTypeFloat = 4,  ///< single float a channel, white 1.0
    };

    /// Asks PluginHost_API::allocRaster for pixels of 0.
    static constexpr int kCleared = 1;

    virtual ~PluginRaster_API() = default;

    virtual int getWidth() = 0;   ///< pixels
    virtual int getHeight() = 0;  ///< rows
    virtual PixelType getPixelType() = 0;
    virtual int getRowBytes() = 0;  ///< bytes from one row to the next

    /// The raster's side of the After Effects interface, or null on any other binding.
    virtual PluginRaster_AE_Impl* getAERaster() = 0;
    /// Other hosts' rasters: opaque, non-null exactly when the binding is of that family.
    virtual void* getAVX1Raster() = 0;
    virtual void* getAVX2Raster() = 0;
    virtual void* getFXPLUGRaster() = 0;
    virtual void* getSPARKRaster() = 0;
    virtual void* getOFXRaster() { return nullptr; }
    virtual void* getGASKETRaster() { return nullptr; }

    virtual void setHost(PluginHost_API* host) = 0;

    // The image's valid area, inclusive pixel coordinates.
    virtual int getExtentTop() { return 0; }
    virtual int getExtentLeft() { return 0; }
    virtual int getExtentBottom() { return getHeight() - 1; }
    virtual int getExtentRight() { return getWidth() - 1; }

    /// A description held by the raster itself, or null when the host has to be asked.
    virtual QV_RasterInfo* getRasterInfoBase() { return nullptr; }
};
