// The host's user interface, its own transform, and mask paths.
//
// Cursor codes and colour types are values of the host's own enumerations, passed as they are.
#include <algorithm>
#include <cstring>

#include "host/PluginHost_AE_Impl.h"
#include "host/PluginRaster_AE_Impl.h"
#include "host/SuiteAccess.h"
#include "platform/services/ModalWindow.h"

namespace {

constexpr SuiteName kAppSuite1 = {kPFAppSuite, kPFAppSuiteVersion1,
                                  "Failed to acquire PFAppSuite1.",
                                  "Failed to release PFAppSuite1."};
constexpr SuiteName kAppSuite5 = {kPFAppSuite, kPFAppSuiteVersion5,
                                  "Failed to acquire PFAppSuite3.",
                                  "Failed to release PFAppSuite3."};

/// The host's code at `which`, or -1 beyond the table.
template <std::size_t N>
A_long hostCode(A_long const (&codes)[N], long which) {
    return which >= 0 && which < static_cast<long>(N) ? codes[which] : -1;
}

/// Copies `text` up to the end of `to`, the terminator included.
template <std::size_t N>
void copyText(A_char (&to)[N], char const* text) {
    const std::size_t length = std::min(std::strlen(text), N - 1);
    std::memcpy(to, text, length);
    to[length] = '\0';
}

constexpr int kReturnKey = 13, kEscapeKey = 27;

/// The about box before its picture and texts are known.
constexpr ModalWindow kAboutBox = {.widthPx = 536,
                                   .heightPx = 340,
                                   .pictureId = 0,
                                   .pictureInsetPx = 2,
                                   .fontFamily = "Trebuchet MS",
                                   .fallbackFont = 21,
                                   .fontSizePt = 12,
                                   .textColor = 30,
                                   .closingKeys = {kReturnKey, kEscapeKey},
                                   .lines = {{"", 10, 25}, {"", 10, 10}}};

PF_PathOutlinePtr outline(void* path) { return static_cast<PF_PathOutlinePtr>(path); }

PF_PathDataSuite1 const& dataSuite(void* suite) {
    return *static_cast<PF_PathDataSuite1 const*>(suite);
}

PF_PathQuerySuite1 const& querySuite(void* suite) {
    return *static_cast<PF_PathQuerySuite1 const*>(suite);
}

}  // namespace

void PluginHost_AE_Impl::showWarning(char const* text) {
    copyText(out_data->return_msg, text);
    out_data->out_flags |= PF_OutFlag_DISPLAY_ERROR_MESSAGE;
}

void PluginHost_AE_Impl::refreshUi() { out_data->out_flags |= PF_OutFlag_REFRESH_UI; }

int PluginHost_AE_Impl::setCursor(long cursor) {
    constexpr A_long kCursors[] = {2, 8, 41};
    const A_long code = hostCode(kCursors, cursor);
    if (code < 0) return 1;
    ScopedSuite<PFAppSuite1> app(in_data, out_data, kAppSuite1);
    return app.error() ? app.error() : app->PF_SetCursor(code);
}

int PluginHost_AE_Impl::forceUIUpdate() {
    if (in_data->version.major < 12 || in_data->version.minor <= 11) {
        refreshUi();
        return 0;
    }
    ScopedSuite<PFAppSuite5> app(in_data, out_data, kAppSuite5);
    return app.error() ? app.error() : app->PF_RefreshAllWindows();
}

int PluginHost_AE_Impl::getAppColor(int which, int& red, int& green, int& blue) {
    constexpr A_long kColorTypes[] = {6, 5};
    const A_long type = hostCode(kColorTypes, which);
    if (type < 0) return 1;
    ScopedSuite<PFAppSuite1> app(in_data, out_data, kAppSuite1);
    if (app.error()) return app.error();
    PF_App_Color color{};
    if (const PF_Err err = app->PF_AppGetColor(type, &color)) return err;
    red = color.red >> 8;
    green = color.green >> 8;
    blue = color.blue >> 8;
    return 0;
}

int PluginHost_AE_Impl::getMousePos(long& x, long& y) {
    ScopedSuite<PFAppSuite5> app(in_data, out_data, kAppSuite5);
    if (app.error()) return app.error();
    PF_Point point{};
    if (const PF_Err err = app->PF_GetMouse(&point)) return err;
    x = point.h;
    y = point.v;
    return 0;
}

void PluginHost_AE_Impl::showAboutBox(int, void* resource, void*, char const* text1,
                                      char const* text2) {
    ModalWindow window = kAboutBox;
    window.pictureId = reinterpret_cast<std::intptr_t>(resource);
    copyText(window.lines[0].text, text1);
    copyText(window.lines[1].text, text2);
    showModalWindow(&window);
}

int PluginHost_AE_Impl::transformWorld(PluginRaster_API* from, QV_FloatMatrix* matrix,
                                       QV_Rect* rect, PluginRaster_API* to) {
    if (!in_data->utils->transform_world) return PF_Err_INVALID_CALLBACK;
    PF_CompositeMode mode{};
    mode.xfer = PF_Xfer_COPY;
    mode.opacity = 255;
    mode.opacitySu = 32768;
    PF_FloatMatrix hostMatrix;
    static_assert(sizeof hostMatrix == sizeof *matrix);
    std::memcpy(&hostMatrix, matrix, sizeof hostMatrix);
    PF_Rect hostRect{};
    if (rect) hostRect = {rect->top, rect->left, rect->bottom, rect->right};
    return in_data->utils->transform_world(
        in_data->effect_ref, in_data->quality, 1, in_data->field, from->getAERaster()->world, &mode,
        nullptr, &hostMatrix, 1, 1, rect ? &hostRect : nullptr, to->getAERaster()->world);
}

// Mask paths.

int PluginHost_AE_Impl::PathVertexInfo(void* suite, void* path, int index, QV_PathVertex* vertex) {
    PF_PathVertexRecord record{};
    const PF_Err err =
        dataSuite(suite).PF_PathVertexInfo(in_data->effect_ref, outline(path), index, &record);
    if (err) return err;
    *vertex = {record.x,        record.y,         record.tan_in_x,
               record.tan_in_y, record.tan_out_x, record.tan_out_y};
    return 0;
}

int PluginHost_AE_Impl::PathIsOpen(void* suite, void* path, bool* isOpen) {
    PF_Boolean open = 0;
    const PF_Err err = dataSuite(suite).PF_PathIsOpen(in_data->effect_ref, outline(path), &open);
    if (!err) *isOpen = open != 0;
    return err;
}

int PluginHost_AE_Impl::PathNumSegments(void* suite, void* path, int* count) {
    return dataSuite(suite).PF_PathNumSegments(in_data->effect_ref, outline(path), count);
}

int PluginHost_AE_Impl::NumPaths(void* suite, int* count) {
    return querySuite(suite).PF_NumPaths(in_data->effect_ref, count);
}

int PluginHost_AE_Impl::CheckoutPath(void* suite, int pathId, int time, int timeStep, int timeScale,
                                     void** path) {
    PF_PathOutlinePtr taken = nullptr;
    const PF_Err err = querySuite(suite).PF_CheckoutPath(
        in_data->effect_ref, pathId, time, timeStep, static_cast<A_u_long>(timeScale), &taken);
    *path = taken;
    return err;
}

int PluginHost_AE_Impl::CheckinPath(void* suite, int pathId, bool changed, void* path) {
    return querySuite(suite).PF_CheckinPath(in_data->effect_ref, pathId, changed ? 1 : 0,
                                            outline(path));
}

int PluginHost_AE_Impl::PathInfo(void* suite, int index, int* pathId) {
    return querySuite(suite).PF_PathInfo(in_data->effect_ref, index, pathId);
}
