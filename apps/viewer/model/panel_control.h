// PanelControl: one row of the parameter panel, as its user sees it and acts on it. A row is a
// control of the effect (parameter_control.h) or a setting of the scene (scene_control.h); the
// panel knows no difference.
//
// A value has fields, each a text: one of a number, two of a point (x, y), two of an angle (turns,
// degrees), one of a colour, a text or a file. Popups and checkboxes have a choice instead.
//
// Acts change the document, each as one step of undo, or as part of the act that `begin` opened.
// They throw a UserError for what can't be, with everything as it was.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "apps/viewer/model/document.h"

namespace zelk {

enum class ControlKind {
    kGroup,  ///< the rows of a higher level that follow are its own
    kNumber,
    kAngle,
    kPoint,
    kPopup,
    kCheckbox,
    kColor,
    kText,
    kFile,
};

/// What stays while values change.
struct ControlRow {
    std::string name;   ///< to tell rows apart: "to-upper-left", "scene depth"
    std::string label;  ///< "Upper Left"
    ControlKind kind = ControlKind::kGroup;
    int level = 0;                          ///< of nesting, from 0
    int fields = 0;                         ///< texts of its value
    std::string unit = {};                  ///< "px of frame"; empty for none
    std::string help = {};                  ///< a sentence
    std::string range = {};                 ///< "0 to 100"; empty for none
    int decimals = 0;                       ///< that are shown
    double step = 1;                        ///< what a notch of the wheel adds
    bool isWhole = false;                   ///< takes whole numbers alone
    std::vector<std::string> choices = {};  ///< of a popup, kSeparator among them
    std::string caption = {};               ///< a checkbox's own
    bool canVary = false;                   ///< may have keyframes
    bool startsFolded = false;              ///< a group that nobody has folded or unfolded yet

    bool operator==(ControlRow const&) const = default;
};

/// What changes with the frame and with acts.
struct ControlState {
    std::vector<std::string> fields = {};
    int choice = 0;  ///< a popup's, from 1; 1 of a checkbox that is on
    bool isEnabled = true;
    std::string whyGreyed = {};  ///< a sentence; empty where the reason isn't known
    std::string note = {};  ///< a sentence where it has no effect as things are; empty otherwise
    bool isDefault = true;
    bool hasKeys = false, hasKeyHere = false;
    bool hasKeyBefore = false, hasKeyAfter = false;

    bool operator==(ControlState const&) const = default;
};

class PanelControl {
public:
    PanelControl(Document& document, ControlRow row)
        : m_document(document), m_row(std::move(row)) {}
    virtual ~PanelControl() = default;
    PanelControl(PanelControl const&) = delete;
    PanelControl& operator=(PanelControl const&) = delete;

    ControlRow const& row() const { return m_row; }
    virtual ControlState state() const = 0;
    /// A field's text where it is to be typed: with all digits that count.
    virtual std::string typedText(int field) const { return state().fields.at(std::size_t(field)); }

    /// The full path of a file; empty where there is none.
    virtual std::filesystem::path file() const { return {}; }

    virtual void type(int, std::string const&) {}
    /// Adds `steps` of the row's, kept in range.
    virtual void step(int, double /*steps*/) {}
    virtual void choose(int) {}
    /// The choice is about a file, which chooseFile takes with it.
    virtual bool asksForFile(int /*position*/) const { return false; }
    virtual void chooseFile(int, std::string const& /*file*/) {}
    /// The default: of an animated parameter as a key at the frame.
    virtual void reset() {}

    /// On: a key at the frame with the value there. Off: no keys, and the value stays.
    virtual void toggleKeys() {}
    /// The key at the frame alone.
    virtual void toggleKeyHere() {}
    /// The nearest frame before or after that has a key.
    virtual std::optional<int> frameOfKey(bool /*isLater*/) const { return std::nullopt; }

    void begin() { m_document.beginAct("Set " + m_row.label); }
    void end() { m_document.endValueAct(); }
    void cancel() { m_document.cancelAct(); }

protected:
    Document& document() const { return m_document; }
    /// What is typed into a field of numbers: without its unit, worked out (typed_number.h).
    std::string plainText(int field, std::string_view text) const;

private:
    Document& m_document;
    ControlRow m_row;
};

/// The line between a popup's entries.
inline constexpr char const* kSeparator = "(-";

/// What a control does, its unit and range, and why it is greyed.
std::string tooltipOf(ControlRow const& row, ControlState const& state);

}  // namespace zelk
