#pragma once

#include "editor/widgets/OnOffButton.h"

#include <string>
#include <vector>

namespace torvane {

/// The button that opens our donation page in the user's browser. It shows its lower frame
/// while pressed; each release over it opens the page once more. The page is opened by running
/// `xdg-open URL`, found through PATH, in a detached process that nobody waits for.
class DonateButton : public widgets::OnOffButton {
public:
    /// Where the button stands on the panel: left 454, top 237, one frame of the bitmap big.
    static constexpr int left = 454;
    static constexpr int top = 237;

    /// `bitmap` is the two-frame picture, off above on; null draws nothing.
    DonateButton(std::string url, std::shared_ptr<widgets::Bitmap> bitmap);

    void mouseDown(const widgets::Pointer& pointer) override;
    void mouseUp(const widgets::Pointer& pointer) override;

    const std::string& getUrl() const { return url; }

private:
    void openPage() const;

    std::string url;
};

/// Runs `program` with `arguments` (found through PATH) in a process of its own that outlives
/// the caller and is not waited for; no zombie is left. Returns false when no process could be
/// started; whether the program itself ran is not known.
bool startDetached(const std::vector<std::string>& command);

} // namespace torvane
