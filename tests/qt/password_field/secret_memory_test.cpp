// Looks through the memory of this process for a typed password.

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <QTest>
#include <QVBoxLayout>
#include <array>
#include <cstdio>
#include <fstream>
#include <random>
#include <sstream>

#include "platform/qt/controls/control_adapters.h"
#include "tests/qt/support/widget_test.h"

namespace velunor {
namespace {

/// Letters that exist in memory only masked, so that the search does not find the searcher.
class MaskedNeedle {
  public:
    static constexpr std::size_t length = 24;

    MaskedNeedle() {
        std::random_device random;
        for (unsigned char& letter : masked_) {
            letter = static_cast<unsigned char>('a' + random() % 26) ^ mask;
        }
    }
    [[nodiscard]] unsigned char letter(std::size_t index) const {
        return static_cast<unsigned char>(masked_[index] ^ mask);
    }
    /// Whether the letters from `first` on begin at `bytes`, `width` bytes each, low byte first.
    [[nodiscard]] bool isAt(const unsigned char* bytes, std::size_t width,
                            std::size_t first) const {
        for (std::size_t index = first; index < length; ++index, bytes += width) {
            if (static_cast<unsigned char>(*bytes ^ mask) != masked_[index]) {
                return false;
            }
            for (std::size_t high = 1; high < width; ++high) {
                if (bytes[high] != 0) {
                    return false;
                }
            }
        }
        return true;
    }

  private:
    static constexpr unsigned char mask = 0xA5;
    std::array<unsigned char, length> masked_{};
};

/// How often a needle stands in the process's memory, in three encodings.
struct Findings {
    std::size_t utf8 = 0;
    std::size_t utf16 = 0;
    std::size_t utf32 = 0;
    /// Where it stands in UTF-32, for one of those places.
    std::uintptr_t utf32Place = 0;
    std::size_t scannedBytes = 0;
};

/// Whether the page at this address is kept out of swap.
bool isLocked(std::uintptr_t address) {
    std::ifstream mappings("/proc/self/smaps");
    bool inside = false;
    for (std::string line; std::getline(mappings, line);) {
        std::uintptr_t start = 0;
        std::uintptr_t end = 0;
        char dash = 0;
        std::istringstream words(line);
        if (words >> std::hex >> start >> dash >> end && dash == '-') {
            inside = start <= address && address < end;
        } else if (inside && line.starts_with("VmFlags:")) {
            return line.find(" lo") != std::string::npos;
        }
    }
    return false;
}

/// Searches every readable and writable region of this process except for its own window into it.
class MemorySearch {
  public:
    MemorySearch() {
        window_ = static_cast<unsigned char*>(
            mmap(nullptr, windowSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        memory_ = open("/proc/self/mem", O_RDONLY | O_CLOEXEC);
    }
    MemorySearch(const MemorySearch&) = delete;
    MemorySearch& operator=(const MemorySearch&) = delete;
    ~MemorySearch() {
        munmap(window_, windowSize);
        close(memory_);
    }

    /// Searches for the needle's letters from `first` on.
    [[nodiscard]] Findings search(const MaskedNeedle& needle, std::size_t first = 0) const {
        Findings found;
        std::ifstream maps("/proc/self/maps");
        std::string line;
        while (std::getline(maps, line)) {
            std::uintptr_t start = 0;
            std::uintptr_t end = 0;
            char dash = 0;
            std::string rights;
            std::istringstream(line) >> std::hex >> start >> dash >> end >> rights;
            if (rights.starts_with("rw") && start != reinterpret_cast<std::uintptr_t>(window_)) {
                searchRegion(start, end, needle, first, found);
            }
        }
        return found;
    }

  private:
    static constexpr std::size_t windowSize = std::size_t{1} << 20U;
    static constexpr std::size_t longest = MaskedNeedle::length * 4;

    void searchRegion(std::uintptr_t start, std::uintptr_t end, const MaskedNeedle& needle,
                      std::size_t first, Findings& found) const {
        // Windows overlap, so that nothing is missed between two of them.
        for (std::uintptr_t at = start; at < end; at += windowSize - longest) {
            const std::size_t wanted = std::min<std::size_t>(windowSize, end - at);
            const ssize_t count = pread(memory_, window_, wanted, static_cast<off_t>(at));
            if (count <= 0) {
                return;
            }
            const auto size = static_cast<std::size_t>(count);
            found.scannedBytes += size;
            for (std::size_t offset = 0; offset + MaskedNeedle::length <= size; ++offset) {
                const unsigned char* bytes = window_ + offset;
                found.utf8 += needle.isAt(bytes, 1, first) ? 1 : 0;
                found.utf16 +=
                    offset + 2 * MaskedNeedle::length <= size && needle.isAt(bytes, 2, first);
                if (offset + longest <= size && needle.isAt(bytes, 4, first)) {
                    ++found.utf32;
                    found.utf32Place = at + offset;
                }
            }
            if (wanted < windowSize) {
                return;
            }
        }
    }

    unsigned char* window_ = nullptr;
    int memory_ = -1;
};

/// A text behind others on the clipboard that is made for whoever asks for it, as one that another
/// program has copied.
class ForeignText final : public QMimeData {
  public:
    explicit ForeignText(const MaskedNeedle& needle) : needle_(needle) {}
    [[nodiscard]] QStringList formats() const override { return {"text/plain"}; }

  protected:
    [[nodiscard]] QVariant retrieveData(const QString&, QMetaType) const override {
        // So long a block does not become another one's soon.
        constexpr qsizetype before = 1000;
        QString text(before + static_cast<qsizetype>(MaskedNeedle::length), u'-');
        for (std::size_t index = 0; index < MaskedNeedle::length; ++index) {
            text[before + static_cast<qsizetype>(index)] = QChar(needle_.letter(index));
        }
        return text;
    }

  private:
    const MaskedNeedle& needle_;
};

class SecretMemoryTest : public testing::Test {
  protected:
    SecretMemoryTest() {
        auto* layout = new QVBoxLayout(&window_);
        layout->addWidget(widget_ = new CustomSecureTextField);
        window_.show();
        widget_->setFocus();
    }
    void typeNeedle() {
        for (std::size_t index = 0; index < MaskedNeedle::length; ++index) {
            QTest::keyClick(widget_, static_cast<char>(needle.letter(index)));
        }
        QCoreApplication::processEvents();
    }
    void expectNothingLeft() const {
        // What is overwritten only in part, or given back to the allocator, keeps its end.
        const Findings left = memory.search(needle, MaskedNeedle::length / 2);
        EXPECT_EQ(left.utf8, 0U);
        EXPECT_EQ(left.utf16, 0U);
        EXPECT_EQ(left.utf32, 0U);
        EXPECT_GT(left.scannedBytes, std::size_t{1} << 20U);
    }
    [[nodiscard]] CustomSecureTextField& widget() const { return *widget_; }

    const MaskedNeedle needle;
    const MemorySearch memory;

  private:
    QWidget window_;
    CustomSecureTextField* widget_ = nullptr;
};

TEST_F(SecretMemoryTest, HoldsTheTypedTextOnceAndNothingOfItAfterwards) {
    QtSecureField field(widget());
    expectNothingLeft();

    typeNeedle();
    const Findings held = memory.search(needle);
    EXPECT_EQ(held.utf8, 0U);
    EXPECT_EQ(held.utf16, 0U);
    EXPECT_EQ(held.utf32, 1U);

    field.clear();
    EXPECT_EQ(widget().length(), 0);
    expectNothingLeft();
}

TEST_F(SecretMemoryTest, LeavesNothingOfTheTextThatWasHandedOut) {
    QtSecureField field(widget());
    typeNeedle();
    {
        const Secret taken = field.secretValue();
        EXPECT_EQ(taken.size(), MaskedNeedle::length);
        EXPECT_GE(memory.search(needle).utf8, 1U);
        field.clear();
    }
    expectNothingLeft();
}

TEST_F(SecretMemoryTest, LeavesNothingWhenTheTextIsRemovedByKeys) {
    typeNeedle();
    EXPECT_EQ(memory.search(needle).utf32, 1U);
    widget().selectAll();
    QTest::keyClick(&widget(), Qt::Key_Delete);
    expectNothingLeft();
}

TEST_F(SecretMemoryTest, LeavesNothingOfATextThatWasPasted) {
    QGuiApplication::clipboard()->setMimeData(new ForeignText(needle));
    QTest::keySequence(&widget(), QKeySequence::Paste);
    QGuiApplication::clipboard()->clear();
    EXPECT_EQ(memory.search(needle).utf32, 1U);
    widget().wipeText();
    expectNothingLeft();
}

TEST_F(SecretMemoryTest, KeepsTheTypedTextOutOfSwap) {
    typeNeedle();
    const Findings held = memory.search(needle);
    ASSERT_EQ(held.utf32, 1U);
    EXPECT_TRUE(isLocked(held.utf32Place));
    int onTheStack = 0;
    EXPECT_FALSE(isLocked(reinterpret_cast<std::uintptr_t>(&onTheStack)));
}

TEST_F(SecretMemoryTest, KeepsStorageThatHasGrownOutOfSwap) {
    constexpr int rounds = 40;
    for (int round = 0; round < rounds; ++round) {
        typeNeedle();
    }
    const Findings held = memory.search(needle);
    ASSERT_EQ(held.utf32, std::size_t{rounds});
    EXPECT_TRUE(isLocked(held.utf32Place));
}

TEST_F(SecretMemoryTest, LeavesNothingInStorageThatItOutgrows) {
    for (int round = 0; round < 40; ++round) {
        typeNeedle();
    }
    EXPECT_EQ(memory.search(needle).utf32, 40U);
    widget().wipeText();
    expectNothingLeft();
}

TEST_F(SecretMemoryTest, LeavesNothingWhenTheFieldIsDestroyed) {
    {
        SecretText text;
        // The allocator itself overwrites the beginning of what is given back.
        constexpr std::size_t before = 50;
        for (std::size_t index = 0; index < before; ++index) {
            text.insert(0, U'-');
        }
        for (std::size_t index = 0; index < MaskedNeedle::length; ++index) {
            text.insert(before + index, needle.letter(index));
        }
        EXPECT_EQ(memory.search(needle).utf32, 1U);
    }
    expectNothingLeft();
}

}  // namespace
}  // namespace velunor
