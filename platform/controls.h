#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/graphics.h"
#include "platform/interface.h"
#include "platform/secret.h"

namespace velunor {

// The controls of a window, by kind. Everything here is used on the main thread only. Texts are
// UTF-8 and literal: a control shows them as they stand and gives back what it was given.

/// A key-frame animation of a control's position.
struct KeyFrameAnimation {
    std::string keyPath;
    /// Horizontal translations in points, one a key frame.
    std::vector<double> translationsX;
    bool autoreverses = false;
    int repeatCount = 0;
    /// Length of one pass.
    std::chrono::milliseconds duration{0};
};

/// The backing layer of a view.
class Layer : public Interface {
  public:
    virtual void setBackgroundColor(const Color& color) = 0;
    virtual void setCornerRadius(double radius) = 0;
    /// Starts the animation; one that still runs on this layer is replaced.
    virtual void addAnimation(const KeyFrameAnimation& animation) = 0;
};

class View : public Interface {
  public:
    virtual void setHidden(bool hidden) = 0;
    /// Position and size inside the window.
    [[nodiscard]] virtual Rect frame() const = 0;
    virtual void setWantsLayer(bool wants) = 0;
    /// The backing layer, owned by the view; null when it has none.
    [[nodiscard]] virtual Layer* layer() = 0;
};

/// Whether a change of a text is told to assistive technologies or only shown.
enum class Announcement { spoken, silent };

class Label : public View {
  public:
    virtual void setStringValue(std::string_view text) = 0;
    virtual void setAttributedStringValue(const AttributedString& text,
                                          Announcement announcement) = 0;
    /// The text as shown, without styling.
    [[nodiscard]] virtual std::string stringValue() const = 0;
};

class EditableField : public View {
  public:
    virtual void setStringValue(std::string_view text) = 0;
    [[nodiscard]] virtual std::string stringValue() const = 0;
    /// Called each time that editing of this field ends (focus leaves it or Return is pressed).
    virtual void setEditingEnded(std::function<void()> callback) = 0;
};

/// A field whose text is never shown, logged or copied.
class SecureField : public View {
  public:
    /// What is typed in the field now; the field keeps it.
    [[nodiscard]] virtual Secret secretValue() const = 0;
    /// Empties the field and overwrites what it held, as far as the toolkit allows.
    virtual void clear() = 0;
};

class Button : public View {
  public:
    virtual void setTitle(std::string_view title) = 0;
    [[nodiscard]] virtual std::string title() const = 0;
    virtual void setTranslatesAutoresizingMask(bool translates) = 0;
    /// Activates a constraint that keeps the button at least this wide, in points.
    virtual void activateWidthConstraint(double width) = 0;
};

class ImageView : public View {
  public:
    virtual void setImage(ImagePointer image) = 0;
};

class StackView : public View {};

/// A layout rule that competes with others; the one with the higher priority wins.
class LayoutConstraint : public Interface {
  public:
    /// The constraint's identifier; empty when it has none.
    [[nodiscard]] virtual std::string identifier() const = 0;
    virtual void setPriority(int priority) = 0;
};

/// Priority that makes a constraint win over its rival.
inline constexpr int layoutPriorityDefaultHigh = 750;
/// Priority that makes a constraint yield to its rival.
inline constexpr int layoutPriorityDefaultLow = 250;

}  // namespace velunor
