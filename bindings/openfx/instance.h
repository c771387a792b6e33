// One instance of the effect in an OpenFX host: its clips and parameters, and where its pictures
// lie.
//
// Space: canonical, y up. The frame is the plate's region where one is connected, else the
// project's; the picture may reach anywhere in it, beyond it to the layer and to pins that lie
// outside, but no farther than another frame on each side, and as far as Grow Bounds tells around
// all of that. The layer is the source's region.
#pragma once

#include <atomic>

#include "bindings/openfx/parameters.h"
#include "bindings/openfx/suites.h"

namespace zelk::bindings {

constexpr char kPlateClipName[] = "Plate";

/// Hosts without them have one rectangle for all that is rendered.
bool hostHasRegions();

class Instance {
public:
    /// Of the create action: all clips and parameters exist. Throws OfxFailure.
    explicit Instance(OfxImageEffectHandle handle);

    OfxImageEffectHandle const handle;
    Properties const properties;
    ParameterSet const parameters;
    bool const isGeneral;
    OfxImageClipHandle const source, output;
    OfxImageClipHandle const plate;  ///< null in other contexts than General

    /// The instance that the host carries. Throws BadHandle without one.
    static Instance& of(void const* handle);
    static Instance* ofOrNull(void const* handle);

    bool isSourceConnected() const { return isConnected(source); }
    bool isPlateConnected() const { return plate && isConnected(plate); }
    /// The host's project; pins start at its corners.
    OfxRectD project() const;
    /// Where the pins are at home.
    OfxRectD frameAt(double time) const;
    /// Empty where the source isn't connected, or its region can't be told.
    OfxRectD layerAt(double time) const;
    /// What a render can fill.
    OfxRectD regionAt(double time) const;
    /// What a render makes of it by resampling: all but a plate that reaches beyond.
    OfxRectD imageAt(double time) const;

    /// Has the effect's own rules say which parameters are greyed at a time.
    void updateGreyed(double time) const;

    void keepError(std::string const& line);
    void clearError();

private:
    static bool isConnected(OfxImageClipHandle clip);
    OfxRectD pinsAt(double time) const;
    OfxRectD clipRegion(OfxImageClipHandle clip, double time) const;

    std::atomic<bool> m_hasError{false};
};

// Actions that ask for places and times; each answers a status or throws OfxFailure.
OfxStatus getRegionOfDefinition(Instance const&, Properties const& in, Properties const& out);
OfxStatus getRegionsOfInterest(Instance const&, Properties const& in, Properties const& out);
OfxStatus getFramesNeeded(Instance const&, Properties const& in, Properties const& out);
OfxStatus getTimeDomain(Instance const&, Properties const& out);
OfxStatus getClipPreferences(Instance const&, Properties const& out);
OfxStatus isIdentity(Instance const&, Properties const& in, Properties const& out);

/// The render action.
OfxStatus render(Instance&, Properties const& in);

/// What a user's change of a parameter asks for: greyed controls, imports.
OfxStatus instanceChanged(Instance&, Properties const& in);

/// Replaces the four To or From Pins by keys from the file that the user named.
void importTrack(Instance&, bool isTo, double time);

}  // namespace zelk::bindings
