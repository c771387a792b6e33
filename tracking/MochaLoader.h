// Where the samples of a tracking file go. The reader calls these and looks at no result, so a
// sample that can't be taken doesn't stop the file.
#pragma once

class MochaLoader {
public:
    /// A corner's samples begin, for the parameter at `paramIndex` with that disk id. 0 or a host's
    /// code, as below.
    virtual int startLoadProperty(int paramIndex, int diskId) = 0;
    /// A sample at a frame number of the file; x and y are fractions of the file's resolution, y
    /// down.
    virtual int setValue(double x, double y, double frame) = 0;
    /// The corner ends. Also called with nothing open, and does nothing then.
    virtual int finishLoadProperty() = 0;
    /// The file's resolution, pixels, as far as it is known; it may come twice.
    virtual void setResolution(int width, int height) = 0;

protected:
    ~MochaLoader() = default;
};
