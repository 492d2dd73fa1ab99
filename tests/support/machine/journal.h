#pragma once

#include <mutex>
#include <string>
#include <thread>

namespace velunor::testing {

/// Stands where the machine's journal takes records, and keeps them.
class Journal {
  public:
    /// Takes the place of the journal. Throws when it is taken.
    Journal();
    Journal(const Journal&) = delete;
    Journal& operator=(const Journal&) = delete;
    ~Journal();

    /// All records so far, as they came. Any thread.
    [[nodiscard]] std::string records() const;

  private:
    void collect(const std::stop_token& stop);

    int socket_ = -1;
    mutable std::mutex mutex_;
    std::string records_;
    std::jthread thread_;
};

}  // namespace velunor::testing
