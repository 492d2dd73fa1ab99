#pragma once

namespace velunor {

/// Base of the interfaces: their implementations are used through references and pointers, and a
/// copy through the interface would cut them.
class Interface {
  public:
    Interface(const Interface&) = delete;
    Interface& operator=(const Interface&) = delete;
    virtual ~Interface() = default;

  protected:
    Interface() = default;
};

}  // namespace velunor
