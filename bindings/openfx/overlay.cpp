// The interact's actions, and the effect's event records that they become; see overlay.h.
#include "bindings/openfx/overlay.h"

#include <array>
#include <cmath>
#include <cstring>
#include <memory>
#include <optional>
#include <string_view>

#include "bindings/common/effect_controls.h"
#include "bindings/openfx/guarded.h"
#include "bindings/openfx/instance.h"
#include "bindings/openfx/overlay_canvas.h"
#include "bindings/openfx/plane.h"
#include "interaction/DrawEvent.h"
#include "interaction/HandleEvent.h"
#include "interaction/PanelPoints.h"
#include "params/FixedPoint.h"
#include "params/ParameterNames.h"
#include "platform/services/DrawingPort.h"

namespace zelk::bindings {

namespace {

constexpr double kHandlePx = 4;  ///< half of a handle's side, screen pixels
constexpr double kGrabPx = 7;    ///< how near to a pin a pen takes it

/// What lies between the actions of one interact.
struct OverlayState {
    bool isShiftHeld = false;
    enum class Drag { kNone, kPin, kQuad } drag = Drag::kNone;
    int pin = 0;                ///< parameter index of the pin that is dragged
    OfxPointD grab{};           ///< from the pen to that pin
    std::intptr_t refcon[4]{};  ///< the effect's own, of a quad's drag
    std::optional<EditStep> step;
};

Properties propertiesOfInteract(OfxInteractHandle interact) {
    OfxPropertySetHandle set = nullptr;
    require(suites().interact->interactGetPropertySet(interact, &set));
    return Properties(set);
}

bool hostHasHandle(OfxParamHandle pin) {
    OfxPropertySetHandle set = nullptr;
    if (suites().parameter->paramGetPropertySet(pin, &set) != kOfxStatOK) return false;
    return Properties(set).integerOr(kOfxParamPropHasHostOverlayHandle, 0) != 0;
}

/// The effect's records at a moment, its pins in whole and 1/65536 pixels of the corner plane.
class EventScene {
public:
    EventScene(Instance& instance, double time)
        : m_instance(instance), m_time(time), m_plane(planeOf(instance, time)) {
        for (int const index : {kParamOverlayMode, kParamWireframe})
            m_controls[index].u.pd.value = hostEntry(instance.parameters.entryAt(index, time));
        for (int const index : {kParamToWireframeColor, kParamFromWireframeColor}) {
            auto const color = instance.parameters.at(index, time);
            m_controls[index].u.cd.value = {255, channel(color.x), channel(color.y),
                                            channel(color.z)};
        }
        for (PinIndices const& quad : {kToPins, kFromPins})
            for (int const pin : quad) {
                OfxPointD const at = m_plane.fromCanonical(pinAt(pin));
                m_controls[pin].u.td.x_value = QVS::doubleToFixed(at.x);
                m_controls[pin].u.td.y_value = QVS::doubleToFixed(at.y);
                m_controls[pin].uu.change_flags = 0;
            }
        m_extra.contextH = &m_contextPointer;
        m_extra.cbs = {nullptr, keep, keep, keepSource, keepSource};
    }

    OfxPointD pinAt(int pin) const {
        auto const value = m_instance.parameters.at(pin, m_time);
        return {value.x, value.y};
    }
    CornerPlane const& plane() const { return m_plane; }
    int overlayMode() { return entryOfHost(m_controls[kParamOverlayMode].u.pd.value); }
    PF_Pixel colorOf(PinIndices const& quad) {
        return m_controls[quad == kToPins ? kParamToWireframeColor : kParamFromWireframeColor]
            .u.cd.value;
    }
    PF_DoClickEventInfo& mouse() { return m_extra.u.do_click; }

    /// Whether the effect took the event. The pins that it moved become the host's.
    bool send(PF_EventType type, OfxPointD const& pen) {
        OfxPointD const at = m_plane.fromCanonical(pen);
        mouse().screen_point = {wholeOf(at.y), wholeOf(at.x)};
        bool const isTaken = send(type);
        for (PinIndices const& quad : {kToPins, kFromPins})
            for (int const pin : quad)
                if (m_controls[pin].uu.change_flags & PF_ChangeFlag_CHANGED_VALUE) store(pin);
        return isTaken;
    }
    bool send(PF_EventType type) {
        m_extra.e_type = type;
        m_extra.evt_out_flags = PF_EO_NONE;
        HandleEvent(&m_controls.inData(), &m_controls.outData(), m_controls.array(), nullptr,
                    &m_extra);
        return (m_extra.evt_out_flags & PF_EO_HANDLED_EVENT) != 0;
    }

private:
    static CornerPlane planeOf(Instance const& instance, double time) {
        OfxRectD const frame = instance.frameAt(time);
        return {frame.x1, frame.y2};
    }
    static A_u_char channel(double unit) {
        return static_cast<A_u_char>(std::clamp(unit, 0.0, 1.0) * 255 + 0.5);
    }
    static A_short wholeOf(double pixels) {
        return saturatingInt16(truncatedToInt32(std::floor(pixels)));
    }
    // The panel, the composition and the layer are one plane here.
    static PF_Err keep(void*, PF_ContextH, A_long, A_u_long, PF_FixedPoint*) { return PF_Err_NONE; }
    static PF_Err keepSource(void*, PF_ContextH, PF_FixedPoint*) { return PF_Err_NONE; }

    void store(int pin) {
        PF_PointDef const& point = m_controls[pin].u.td;
        m_instance.parameters.setPin(pin, m_time,
                                     m_plane.toCanonical({QVS::fixedToDouble(point.x_value),
                                                          QVS::fixedToDouble(point.y_value)}));
    }

    Instance& m_instance;
    double m_time;
    CornerPlane m_plane;
    EffectControls m_controls;
    PF_Context m_context{};
    PF_Context* m_contextPointer = &m_context;
    PF_EventExtra m_extra{};
};

/// The effect's drawing port for the length of a draw action.
class CanvasPort {
public:
    CanvasPort(OverlayCanvas& canvas, CornerPlane const& plane, OfxPointD const& pixel)
        : m_canvas(canvas), m_plane(plane), m_pixel(pixel) {}
    ~CanvasPort() { installDrawingPortBackend(m_outer); }
    CanvasPort(CanvasPort const&) = delete;
    CanvasPort& operator=(CanvasPort const&) = delete;

private:
    OfxPointD canonical(short x, short y) const {
        return m_plane.toCanonical({static_cast<double>(x), static_cast<double>(y)});
    }
    void setColor(RGBColor const& color) {
        constexpr float kWhite = 65280;  // a control's 8 bits are the upper ones
        m_canvas.setColor({static_cast<float>(color.red) / kWhite,
                           static_cast<float>(color.green) / kWhite,
                           static_cast<float>(color.blue) / kWhite, 1});
    }
    static void line(void* self, short x0, short y0, short x1, short y1, RGBColor const* color) {
        auto& port = *static_cast<CanvasPort*>(self);
        port.setColor(*color);
        port.m_canvas.line(port.canonical(x0, y0), port.canonical(x1, y1));
    }
    /// A label keeps its distance from the corner on the screen.
    static short text(void* self, short x, short y, char const* text, int length,
                      RGBColor const* color) {
        auto& port = *static_cast<CanvasPort*>(self);
        constexpr short kDown = kLabelOffsetPx + kBaselineBelowTopPx;
        OfxPointD at =
            port.canonical(static_cast<short>(x - kLabelOffsetPx), static_cast<short>(y - kDown));
        at.x += kLabelOffsetPx * port.m_pixel.x;
        at.y -= kDown * port.m_pixel.y;
        port.setColor(*color);
        port.m_canvas.text(at, {text, static_cast<std::size_t>(length)});
        return 0;
    }

    OverlayCanvas& m_canvas;
    CornerPlane m_plane;
    OfxPointD m_pixel;
    DrawingPortBackend m_backend = {this, line, text};
    DrawingPortBackend const* m_outer = installDrawingPortBackend(&m_backend);
};

/// One action of one interact.
class OverlayAction {
public:
    OverlayAction(OverlayState& state, OfxInteractHandle interact, Properties const& in)
        : m_state(state),
          m_interact(interact),
          m_in(in),
          m_instance(Instance::of(in.pointer(kOfxPropEffectInstance))),
          m_time(in.number(kOfxPropTime)) {}

    OfxStatus draw(bool usesDrawSuite) {
        std::unique_ptr<OverlayCanvas> const canvas =
            usesDrawSuite ? drawSuiteCanvas(static_cast<OfxDrawContextHandle>(
                                m_in.pointer(kOfxInteractPropDrawContext)))
                          : openGlCanvas(pixel());
        if (!canvas) return kOfxStatReplyDefault;
        EventScene scene(m_instance, m_time);
        {
            CanvasPort const port(*canvas, scene.plane(), pixel());
            scene.send(PF_Event_DRAW);
        }
        forEachPin(scene, [&](int pin, PinIndices const& quad) {
            if (!hostHasHandle(m_instance.parameters[pin]))
                drawHandle(*canvas, scene.pinAt(pin), scene.colorOf(quad));
        });
        return kOfxStatOK;
    }

    OfxStatus penDown() {
        endDrag();
        EventScene scene(m_instance, m_time);
        OfxPointD const pen = penPosition();
        std::optional<int> const pin = pinUnder(scene, pen);
        // A handle of the host's own is the host's to drag.
        if (pin && hostHasHandle(m_instance.parameters[*pin])) return kOfxStatReplyDefault;
        if (pin) {
            OfxPointD const at = scene.pinAt(*pin);
            m_state.pin = *pin;
            m_state.grab = {at.x - pen.x, at.y - pen.y};
            startDrag(OverlayState::Drag::kPin);
            return redrawn();
        }
        scene.mouse().modifiers = m_state.isShiftHeld ? PF_Mod_SHIFT_KEY : PF_Mod_NONE;
        if (!scene.send(PF_Event_DO_CLICK, pen) || !scene.mouse().send_drag)
            return kOfxStatReplyDefault;
        std::memcpy(m_state.refcon, scene.mouse().continue_refcon, sizeof m_state.refcon);
        startDrag(OverlayState::Drag::kQuad);
        return redrawn();
    }

    OfxStatus penMoved(bool isLast) {
        if (m_state.drag == OverlayState::Drag::kNone) return kOfxStatReplyDefault;
        DragEnd const end(*this, isLast);
        OfxPointD const pen = penPosition();
        if (m_state.drag == OverlayState::Drag::kPin) {
            m_instance.parameters.setPin(m_state.pin, m_time,
                                         {pen.x + m_state.grab.x, pen.y + m_state.grab.y});
        } else {
            EventScene scene(m_instance, m_time);
            std::memcpy(scene.mouse().continue_refcon, m_state.refcon, sizeof m_state.refcon);
            scene.mouse().last_time = isLast;
            scene.send(PF_Event_DRAG, pen);
            std::memcpy(m_state.refcon, scene.mouse().continue_refcon, sizeof m_state.refcon);
        }
        return redrawn();
    }

    /// Shift is seen and left to others.
    OfxStatus key(bool isDown) {
        int const key = m_in.integerOr(kOfxPropKeySym, 0);
        if (key == kOfxKey_Shift_L || key == kOfxKey_Shift_R) m_state.isShiftHeld = isDown;
        return kOfxStatReplyDefault;
    }

    OfxStatus loseFocus() {
        m_state.isShiftHeld = false;
        endDrag();
        return kOfxStatReplyDefault;
    }

private:
    OfxPointD pixel() const {
        auto const size = m_in.numbers<2>(kOfxInteractPropPixelScale);
        return {size[0], size[1]};
    }
    OfxPointD penPosition() const {
        auto const at = m_in.numbers<2>(kOfxInteractPropPenPosition);
        return {at[0], at[1]};
    }
    OfxStatus redrawn() const {
        suites().interact->interactRedraw(m_interact);
        return kOfxStatOK;
    }
    void startDrag(OverlayState::Drag drag) {
        m_state.drag = drag;
        m_state.step.emplace(m_instance.parameters, "Move Pins");
    }
    /// The last move of a drag ends it, even where the host refuses it.
    class DragEnd {
    public:
        DragEnd(OverlayAction& action, bool isLast) : m_action(isLast ? &action : nullptr) {}
        ~DragEnd() {
            if (m_action) m_action->endDrag();
        }
        DragEnd(DragEnd const&) = delete;
        DragEnd& operator=(DragEnd const&) = delete;

    private:
        OverlayAction* m_action;
    };
    void endDrag() {
        m_state.drag = OverlayState::Drag::kNone;
        m_state.step.reset();
    }

    /// Of the quads that are shown.
    template <class Body>
    void forEachPin(EventScene& scene, Body const& body) const {
        int const mode = scene.overlayMode();
        for (PinIndices const& quad : {kToPins, kFromPins}) {
            if (quad == kToPins ? !showsToPins(mode) : !showsFromPins(mode)) continue;
            for (int const pin : quad) body(pin, quad);
        }
    }

    /// The nearest of those that the pen touches.
    std::optional<int> pinUnder(EventScene& scene, OfxPointD const& pen) const {
        std::optional<int> found;
        double nearest = kGrabPx;
        forEachPin(scene, [&](int pin, PinIndices const&) {
            OfxPointD const at = scene.pinAt(pin);
            double const away = std::hypot((at.x - pen.x) / pixel().x, (at.y - pen.y) / pixel().y);
            if (!(away <= nearest)) return;
            nearest = away;
            found = pin;
        });
        return found;
    }

    void drawHandle(OverlayCanvas& canvas, OfxPointD const& at, PF_Pixel color) const {
        double const x = kHandlePx * pixel().x, y = kHandlePx * pixel().y;
        OfxPointD const corners[] = {
            {at.x - x, at.y - y}, {at.x + x, at.y - y}, {at.x + x, at.y + y}, {at.x - x, at.y + y}};
        canvas.setColor({static_cast<float>(color.red) / 255, static_cast<float>(color.green) / 255,
                         static_cast<float>(color.blue) / 255, 1});
        for (int i = 0; i < 4; ++i) canvas.line(corners[i], corners[(i + 1) % 4]);
    }

    OverlayState& m_state;
    OfxInteractHandle m_interact;
    Properties m_in;
    Instance& m_instance;
    double m_time;
};

OfxStatus act(std::string_view action, OverlayAction&& overlay, bool usesDrawSuite) {
    if (action == kOfxInteractActionDraw) return overlay.draw(usesDrawSuite);
    if (action == kOfxInteractActionPenDown) return overlay.penDown();
    if (action == kOfxInteractActionPenMotion) return overlay.penMoved(false);
    if (action == kOfxInteractActionPenUp) return overlay.penMoved(true);
    if (action == kOfxInteractActionKeyDown) return overlay.key(true);
    if (action == kOfxInteractActionKeyUp) return overlay.key(false);
    if (action == kOfxInteractActionLoseFocus) return overlay.loseFocus();
    return kOfxStatReplyDefault;
}

/// A change of what is drawn redraws the overlay.
void redrawWith(Properties const& interact) {
    int slot = 0;
    for (int const index :
         {int{kParamOverlayMode}, int{kParamWireframe}, int{kParamToWireframeColor},
          int{kParamFromWireframeColor}, kToPins[0], kToPins[1], kToPins[2], kToPins[3],
          kFromPins[0], kFromPins[1], kFromPins[2], kFromPins[3]})
        interact.offer(kOfxInteractPropSlaveToParam,
                       kParameterNames[static_cast<std::size_t>(index)].data(), slot++);
}

OfxStatus interact(std::string_view action, void const* handle, OfxPropertySetHandle inArgs,
                   bool usesDrawSuite) {
    if (action == kOfxActionDescribe) return kOfxStatOK;
    if (!suites().interact) return kOfxStatReplyDefault;
    auto* const self = static_cast<OfxInteractHandle>(const_cast<void*>(handle));
    Properties const properties = propertiesOfInteract(self);
    auto* const state = static_cast<OverlayState*>(properties.pointerOrNull(kOfxPropInstanceData));
    if (action == kOfxActionCreateInstance) {
        auto made = std::make_unique<OverlayState>();
        properties.set(kOfxPropInstanceData, static_cast<void*>(made.get()));
        made.release();
        redrawWith(properties);
        return kOfxStatOK;
    }
    if (action == kOfxActionDestroyInstance) {
        properties.offer(kOfxPropInstanceData, static_cast<void*>(nullptr));
        delete state;
        return kOfxStatOK;
    }
    if (!state || !inArgs) return kOfxStatReplyDefault;
    return act(action, OverlayAction(*state, self, Properties(inArgs)), usesDrawSuite);
}

}  // namespace

OfxStatus overlayByOpenGl(char const* action, void const* handle, OfxPropertySetHandle inArgs,
                          OfxPropertySetHandle) {
    return answerOf(action, guarded([&] { return interact(action, handle, inArgs, false); }));
}

OfxStatus overlayByDrawSuite(char const* action, void const* handle, OfxPropertySetHandle inArgs,
                             OfxPropertySetHandle) {
    return answerOf(action, guarded([&] { return interact(action, handle, inArgs, true); }));
}

}  // namespace zelk::bindings
