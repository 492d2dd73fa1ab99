#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/controls.h"
#include "window/prompt_view.h"

namespace velunor::testing {

/// A layer that remembers what it was told.
struct PlainLayer : Layer {
    void setBackgroundColor(const Color& color) override { colors.push_back(color); }
    void setCornerRadius(double radius) override { cornerRadius = radius; }
    void addAnimation(const KeyFrameAnimation& animation) override {
        animations.push_back(animation);
    }

    std::vector<Color> colors;
    std::optional<double> cornerRadius;
    std::vector<KeyFrameAnimation> animations;
};

/// The part that all plain controls share: hidden flag, frame and an optional layer.
template <class Kind>
struct PlainControl : Kind {
    void setHidden(bool value) override { hidden = value; }
    [[nodiscard]] Rect frame() const override { return rect; }
    void setWantsLayer(bool wants) override { wantsLayer = wants; }
    [[nodiscard]] Layer* layer() override { return hasLayer ? &plainLayer : nullptr; }

    bool hidden = false;
    bool wantsLayer = false;
    bool hasLayer = true;
    Rect rect;
    PlainLayer plainLayer;
};

using PlainView = PlainControl<View>;
using PlainStackView = PlainControl<StackView>;

struct PlainLabel : PlainControl<Label> {
    void setStringValue(std::string_view text) override {
        styled = {{std::string(text), std::nullopt, 0}};
        history.emplace_back(text);
    }
    void setAttributedStringValue(const AttributedString& text,
                                  Announcement announcement) override {
        styled = text;
        history.push_back(plainText(text));
        if (announcement == Announcement::spoken) {
            spoken.push_back(history.back());
        }
    }
    [[nodiscard]] std::string stringValue() const override {
        return shownInstead.value_or(plainText(styled));
    }

    AttributedString styled;
    /// The styled texts that assistive technologies were told of.
    std::vector<std::string> spoken;
    /// Every text that the label was given.
    std::vector<std::string> history;
    /// What the label shows in place of what it was given, as a control that trims would.
    std::optional<std::string> shownInstead;
};

struct PlainField : PlainControl<EditableField> {
    void setStringValue(std::string_view text) override { value = text; }
    [[nodiscard]] std::string stringValue() const override {
        ++reads;
        return value;
    }
    void setEditingEnded(std::function<void()> callback) override {
        editingEnded = std::move(callback);
    }

    std::string value;
    mutable int reads = 0;
    std::function<void()> editingEnded;
};

struct PlainSecureField : PlainControl<SecureField> {
    [[nodiscard]] Secret secretValue() const override {
        ++reads;
        return Secret(value);
    }
    void clear() override { value.clear(); }

    std::string value;
    mutable int reads = 0;
};

struct PlainButton : PlainControl<Button> {
    void setTitle(std::string_view text) override {
        text_ = text;
        if (widthOfALetter) {
            rect.size.width = *widthOfALetter * static_cast<double>(text.size());
        }
    }
    [[nodiscard]] std::string title() const override { return shownInstead.value_or(text_); }
    void setTranslatesAutoresizingMask(bool value) override { translates = value; }
    void activateWidthConstraint(double value) override { width = value; }

    bool translates = true;
    std::optional<double> width;
    std::optional<std::string> shownInstead;
    /// Set for a button that grows with its title.
    std::optional<double> widthOfALetter;

  private:
    std::string text_;
};

struct PlainImageView : PlainControl<ImageView> {
    void setImage(ImagePointer value) override { image = std::move(value); }
    ImagePointer image;
};

struct PlainConstraint : LayoutConstraint {
    explicit PlainConstraint(std::string name = {}) : name_(std::move(name)) {}
    [[nodiscard]] std::string identifier() const override { return name_; }
    void setPriority(int value) override { priority = value; }

    std::optional<int> priority;

  private:
    std::string name_;
};

struct PlainWindow : Window {
    [[nodiscard]] Rect frame() const override { return rect; }
    void setFrameOrigin(const Point& origin) override {
        rect.origin = origin;
        ++moves;
    }
    void setLevel(int value) override { level = value; }

    Rect rect{{5, 6}, {400, 300}};
    int moves = 0;
    int level = normalWindowLevel;
};

/// The controls of a whole window as plain records, each connected to its outlet.
struct PlainControls {
    PlainLabel productNameLabel, titleLabel, messageLabel, updateDescription,
        credentailsInfoTextLabel, userNameLabel, unsupportedUserCredentailInfoTextLabel,
        timerInfoLabel, postponeAttemptsRemainingLabel;
    PlainView osUpdateInfoView, credentailsRequiredView, unsupportedUserCredentailsView,
        updateGearBackground;
    PlainStackView userStackView, unsupportedInfoStackView;
    PlainImageView userIcon, updateGearIcon, appIcon;
    PlainButton usernameChangeButton, postponeButton, updateNowButton;
    PlainField userNameTextField;
    PlainSecureField passwordTextFiled;
    PlainConstraint passwordToUnspportedInfoConstraint, passwordToUserNameConstraint;
    PlainConstraint timerViewToCredentailsBottom{"TimerViewToCredentailsBottomConstraint"};
    PlainConstraint timerViewToOSInfoBottom{"TimerViewToOSInfoBottomConstraint"};
    PlainWindow window;

    PlainControls();

    [[nodiscard]] PromptView view();
};

}  // namespace velunor::testing
