// What a secret's storage holds at the moment at which it is given back. The program's own
// operators new and delete see it.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>

#include "platform/secret.h"

namespace {

/// Storage of this size is looked at when it is given back, as long as somebody watches.
constexpr std::size_t watchedSize = 4000;
bool isWatching = false;
const void* watched = nullptr;
std::string content;

}  // namespace

void* operator new(std::size_t size) {
    void* storage = std::malloc(size == 0 ? 1 : size);
    if (storage == nullptr) {
        std::abort();
    }
    if (isWatching && size == watchedSize) {
        watched = storage;
    }
    return storage;
}

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return operator new(size);
}

void operator delete(void* storage) noexcept {
    if (storage != nullptr && storage == watched) {
        watched = nullptr;
        content.assign(static_cast<const char*>(storage), watchedSize);
    }
    std::free(storage);
}

void operator delete(void* storage, std::size_t /*size*/) noexcept {
    operator delete(storage);
}

namespace velunor::testing {
namespace {

class SecretStorageTest : public ::testing::Test {
  protected:
    void SetUp() override { isWatching = true; }
    void TearDown() override {
        isWatching = false;
        watched = nullptr;
        content.clear();
    }
};

TEST_F(SecretStorageTest, IsGivenBackWithNothingOfTheSecret) {
    { const Secret secret{std::string(watchedSize, 'x')}; }
    EXPECT_TRUE(content == std::string(watchedSize, '\0'));
}

TEST_F(SecretStorageTest, IsGivenBackWithNothingOfTheSecretWhereItHasGrown) {
    Secret secret;
    secret.append(std::string(watchedSize, 'x'));
    secret.append("y");
    EXPECT_TRUE(content == std::string(watchedSize, '\0'));
}

TEST_F(SecretStorageTest, OfLargerElementsIsWholeBytesOfThem) {
    constexpr std::size_t count = watchedSize / sizeof(std::uint32_t);
    WipingAllocator<std::uint32_t> allocator;
    std::uint32_t* storage = allocator.allocate(count);
    std::memset(storage, 'x', watchedSize);
    allocator.deallocate(storage, count);
    EXPECT_TRUE(content == std::string(watchedSize, '\0'));
}

}  // namespace
}  // namespace velunor::testing
