#include "platform/qt/accessibility/accessibility.h"
#include "platform/qt/password_field/secure_text_field.h"
#include "platform/qt/widgets/accessible_field.h"

namespace velunor {
namespace {

/// What is entered goes to the field, which shows bullets alone to whoever reads.
class AccessibleSecureField final : public AccessibleField {
  public:
    explicit AccessibleSecureField(CustomSecureTextField* field) : AccessibleField(field) {}

    using AccessibleField::text;
    [[nodiscard]] QString text(QAccessible::Text kind) const override {
        if (kind == QAccessible::Description && field().hintsAtCapsLock()) {
            return field().capsLockText();
        }
        return AccessibleField::text(kind);
    }

  protected:
    void type(const QString& text) override { field().type(text); }

  private:
    [[nodiscard]] CustomSecureTextField& field() const {
        return *static_cast<CustomSecureTextField*>(widget());
    }
};

}  // namespace

void CustomSecureTextField::describeFields() {
    installAccessible<CustomSecureTextField, AccessibleSecureField>();
}

}  // namespace velunor
