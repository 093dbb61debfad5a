#pragma once

#include "editor/EditorHost.h"
#include "editor/widgets/Frame.h"
#include "editor/widgets/Widget.h"
#include "runtime/Control.h"

#include <atomic>
#include <memory>
#include <string>
#include <vector>

namespace torvane {

/// The page the donate button opens, a build setting.
extern const char* const donateUrl;

/// The amplifier's panel: one background picture, and one widget per control of the system
/// document, built from the control's panel keys (ControlType, Image, X, Y, Width, Height,
/// NumberOfImages, HeightOfOneImage); the widget's tag is the control's index. A donate button
/// stands beside them.
///
/// Threads: `open`, `close`, `idle` and the widgets' callbacks on the host's window thread.
/// `setParameter` on any thread, the audio thread included: it only stores the value, and
/// the next idle moves the widget.
class TorvaneEditor : private widgets::WidgetListener {
public:
    using ControlList = std::shared_ptr<std::vector<std::shared_ptr<nodara::Control>>>;

    /// Reads the background's size from its header; decodes no picture, opens no display.
    TorvaneEditor(EditorHost& effect, ControlList controls, std::string donatePage = donateUrl);
    ~TorvaneEditor() override;

    /// The panel's rectangle: 0, 0 and the background's size.
    const widgets::Rect& getRect() const { return rect; }

    /// Opens the panel in the X window `parent`; one that is open closes first. Throws
    /// NodaraException "Invalid ControlType <type>" for a widget type it does not know, and
    /// widgets::WindowError when there is no display or `parent` is no window; nothing stays
    /// open then.
    void open(unsigned long parent);
    /// Takes the panel's window off the server and frees the widgets and pictures.
    void close();
    bool isOpen() const { return frame != nullptr; }
    /// Moves widgets to values the host set, handles the window's events, redraws what changed.
    void idle();

    /// A value from the host. Any thread; never allocates, waits or calls the window system.
    /// Ignored while the panel is closed, and for an index without a widget.
    void setParameter(int index, float value);

    /// One per control, in the controls' order; empty while closed.
    const std::vector<widgets::Widget*>& getWidgets() const { return widgets; }
    const widgets::Widget* getDonateButton() const { return donateButton; }
    unsigned long getWindow() const { return frame ? frame->window() : 0; }
    int protocolErrors() const { return frame ? frame->protocolErrors() : 0; }

private:
    void build(widgets::Frame& panel);
    /// The widget a control's ControlType names, tagged with the control's index.
    std::unique_ptr<widgets::Widget> makeWidget(const nodara::Control& control, int tag,
                                                const std::shared_ptr<widgets::Bitmap>& bitmap);
    void takeHostValues();
    bool isParameter(const widgets::Widget& widget) const;

    void valueChanged(widgets::Widget& widget) override;
    void beginEdit(widgets::Widget& widget) override;
    void endEdit(widgets::Widget& widget) override;

    EditorHost& effect;
    ControlList controls;
    std::string donatePage;
    widgets::Rect rect;
    std::unique_ptr<widgets::Frame> frame;
    std::vector<widgets::Widget*> widgets;
    widgets::Widget* donateButton = nullptr;

    /// Values from the host, one slot per control, and whether each waits for the next idle.
    std::unique_ptr<std::atomic<float>[]> hostValues;
    std::unique_ptr<std::atomic<bool>[]> hostValueWaits;
    std::atomic<bool> opened{false};
};

} // namespace torvane
