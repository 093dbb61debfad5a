#include "editor/TorvaneEditor.h"

#include "editor/DonateButton.h"
#include "editor/Resources.h"
#include "editor/widgets/Knob.h"
#include "editor/widgets/Switch.h"
#include "runtime/Exceptions.h"

#include <algorithm>
#include <cctype>
#include <map>

namespace torvane {

const char* const donateUrl = TORVANE_DONATE_URL;

namespace {

constexpr const char* backgroundName = "torvane.png";
constexpr const char* donateName = "donate.png";

std::shared_ptr<widgets::Bitmap> loadBitmap(const std::string& name) {
    const auto bytes = findResource(name);
    return bytes ? widgets::Bitmap::fromPng(*bytes) : nullptr;
}

std::string lowerCase(std::string text) {
    std::ranges::transform(text, text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

widgets::Rect rectOf(const nodara::Control& control) {
    return {control.getX(), control.getY(), control.getX() + control.getWidth(),
            control.getY() + control.getHeight()};
}

} // namespace

TorvaneEditor::TorvaneEditor(EditorHost& effect, ControlList controls, std::string donatePage)
    : effect(effect), controls(std::move(controls)), donatePage(std::move(donatePage)),
      hostValues(new std::atomic<float>[this->controls->size()]),
      hostValueWaits(new std::atomic<bool>[this->controls->size()]) {
    for (size_t i = 0; i < this->controls->size(); ++i) {
        hostValues[i] = 0.0f;
        hostValueWaits[i] = false;
    }
    const auto background = findResource(backgroundName);
    const auto size = background ? widgets::pngSize(*background) : std::nullopt;
    if (size) {
        rect = {0, 0, size->width, size->height};
    }
}

TorvaneEditor::~TorvaneEditor() { close(); }

void TorvaneEditor::open(unsigned long parent) {
    close();
    auto panel = std::make_unique<widgets::Frame>(parent, loadBitmap(backgroundName));
    build(*panel);
    frame = std::move(panel);
    // From here on the host's values are kept for the widgets; the effect already holds every
    // value set before, so none is lost in between.
    opened = true;
    takeHostValues();
}

void TorvaneEditor::build(widgets::Frame& panel) {
    std::vector<widgets::Widget*> built;
    std::map<std::string, std::shared_ptr<widgets::Bitmap>> bitmaps;
    for (size_t index = 0; index < controls->size(); ++index) {
        const nodara::Control& control = *(*controls)[index];
        auto& bitmap = bitmaps[lowerCase(control.getImage())];
        if (!bitmap) {
            bitmap = loadBitmap(control.getImage());
        }
        built.push_back(&panel.add(makeWidget(control, static_cast<int>(index), bitmap)));
    }
    donateButton = &panel.add(std::make_unique<DonateButton>(donatePage, loadBitmap(donateName)));
    widgets = std::move(built);
}

std::unique_ptr<widgets::Widget> TorvaneEditor::makeWidget(
    const nodara::Control& control, int tag, const std::shared_ptr<widgets::Bitmap>& bitmap) {
    using widgets::Switch;
    widgets::WidgetListener* listener = this;
    const std::string& type = control.getControlType();
    if (type == "CAnimKnob") {
        return std::make_unique<widgets::Knob>(rectOf(control), listener, tag, bitmap);
    }
    if (type == "CHorizontalSwitch") {
        return std::make_unique<Switch>(Switch::Axis::horizontal, rectOf(control), listener, tag,
                                        bitmap, control.getHeightOfOneImage());
    }
    if (type == "CVerticalSwitch") {
        return std::make_unique<Switch>(Switch::Axis::vertical, rectOf(control), listener, tag,
                                        bitmap);
    }
    throw nodara::NodaraException("Invalid ControlType " + type);
}

void TorvaneEditor::takeHostValues() {
    for (size_t index = 0; index < widgets.size(); ++index) {
        hostValueWaits[index] = false;
        widgets[index]->setValue(effect.parameterValue(static_cast<int>(index)));
    }
}

void TorvaneEditor::close() {
    opened = false;
    widgets.clear();
    donateButton = nullptr;
    frame.reset();
}

void TorvaneEditor::idle() {
    if (!frame) {
        return;
    }
    for (size_t index = 0; index < widgets.size(); ++index) {
        if (hostValueWaits[index].exchange(false, std::memory_order_acquire)) {
            widgets[index]->setValue(hostValues[index].load(std::memory_order_relaxed));
        }
    }
    frame->idle();
}

void TorvaneEditor::setParameter(int index, float value) {
    if (!opened.load(std::memory_order_acquire) || index < 0 ||
        static_cast<size_t>(index) >= controls->size()) {
        return;
    }
    hostValues[index].store(value, std::memory_order_relaxed);
    hostValueWaits[index].store(true, std::memory_order_release);
}

bool TorvaneEditor::isParameter(const widgets::Widget& widget) const {
    return widget.tag() >= 0 && static_cast<size_t>(widget.tag()) < controls->size();
}

void TorvaneEditor::valueChanged(widgets::Widget& widget) {
    if (isParameter(widget)) {
        effect.automate(widget.tag(), widget.value());
    }
}

void TorvaneEditor::beginEdit(widgets::Widget& widget) {
    if (isParameter(widget)) {
        effect.beginEdit(widget.tag());
    }
}

void TorvaneEditor::endEdit(widgets::Widget& widget) {
    if (isParameter(widget)) {
        effect.endEdit(widget.tag());
    }
}

} // namespace torvane
