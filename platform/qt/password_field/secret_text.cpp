#include "platform/qt/password_field/secret_text.h"

#include <QFontMetricsF>
#include <QString>
#include <algorithm>
#include <string>
#include <utility>

#include "platform/posix/memory_lock.h"
#include "platform/text.h"

namespace velunor {
namespace {

constexpr std::size_t firstCapacity = 256;
constexpr char32_t replacement = 0xFFFD;
constexpr char32_t zeroWidthJoiner = 0x200D;

void wipe(char32_t* text, std::size_t count) noexcept {
    velunor::wipe(reinterpret_cast<char*>(text), count * sizeof(char32_t));
}

/// Room for `count` code points that is not written to a disk. A password has to be taken all the
/// same where the system locks no more memory.
std::vector<char32_t> lockedStorage(std::size_t count) {
    std::vector<char32_t> storage(count);
    lockMemory(storage.data(), storage.size() * sizeof(char32_t));
    return storage;
}

/// Length of the character at the start of `text` with the marks that belong to it.
std::size_t clusterLength(std::u32string_view text) {
    std::size_t length = 1;
    while (length < text.size()) {
        if (!QChar::isMark(text[length]) && text[length] != zeroWidthJoiner &&
            text[length - 1] != zeroWidthJoiner) {
            break;
        }
        ++length;
    }
    return length;
}

template <class Use>
void forEachCluster(std::u32string_view text, Use use) {
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t count = clusterLength(text.substr(at));
        use(at, QString::fromUcs4(text.data() + at, static_cast<qsizetype>(count)));
        at += count;
    }
}

}  // namespace

SecretText::SecretText() : storage_(lockedStorage(firstCapacity)) {}

SecretText::~SecretText() {
    wipe(storage_.data(), storage_.size());
}

Secret SecretText::utf8() const {
    Secret encoded;
    for (const char32_t codePoint : reveal()) {
        const bool scalar =
            codePoint <= QChar::LastValidCodePoint && !QChar::isSurrogate(codePoint);
        // So few bytes never leave the string itself for the heap.
        std::string bytes = encodedUtf8(scalar ? codePoint : replacement);
        encoded.append(bytes);
        velunor::wipe(bytes);
    }
    return encoded;
}

void SecretText::insert(std::size_t index, char32_t codePoint) {
    if (size_ == storage_.size()) {
        // Growing in place would leave a copy behind.
        std::vector<char32_t> grown = lockedStorage(storage_.size() * 2);
        std::copy(storage_.begin(), storage_.end(), grown.begin());
        wipe(storage_.data(), storage_.size());
        storage_ = std::move(grown);
    }
    char32_t* text = storage_.data();
    std::copy_backward(text + index, text + size_, text + size_ + 1);
    text[index] = codePoint;
    ++size_;
}

void SecretText::erase(std::size_t index, std::size_t count) noexcept {
    const std::size_t first = std::min(index, size_);
    const std::size_t removed = std::min(count, size_ - first);
    char32_t* text = storage_.data();
    std::copy(text + first + removed, text + size_, text + first);
    size_ -= removed;
    wipe(text + size_, removed);
}

void drawSecret(QPainter& painter, const QRect& area, std::u32string_view text, std::size_t caret) {
    const QFontMetricsF metrics(painter.font());
    double end = 0;
    double caretAt = 0;
    forEachCluster(text, [&](std::size_t at, const QString& cluster) {
        end += metrics.horizontalAdvance(cluster);
        caretAt = at < caret ? end : caretAt;
    });
    const double room = area.width();
    double left = area.left() - std::max(0.0, caretAt - room);
    if (painter.layoutDirection() == Qt::RightToLeft && end < room) {
        left = area.left() + room - end;
    }
    const double baseline = area.top() + (area.height() - metrics.height()) / 2 + metrics.ascent();
    painter.save();
    painter.setClipRect(area);
    forEachCluster(text, [&](std::size_t, const QString& cluster) {
        painter.drawText(QPointF(left, baseline), cluster);
        left += metrics.horizontalAdvance(cluster);
    });
    painter.restore();
}

}  // namespace velunor
