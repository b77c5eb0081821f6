#pragma once

#include <utility>

namespace support {

/** Holds one reference to a provider, whose destructor is protected, and drops
 *  it at the end of the scope. */
template <typename Provider>
class Owned {
public:
  explicit Owned(Provider* provider = nullptr) : owned(provider) {}
  Owned(Owned&& other) noexcept : owned(std::exchange(other.owned, nullptr)) {}
  Owned& operator=(Owned&& other) noexcept
  {
    std::swap(owned, other.owned);
    return *this;
  }
  Owned(const Owned&) = delete;
  Owned& operator=(const Owned&) = delete;
  ~Owned() { drop(); }

  Provider* get() const { return owned; }
  Provider* operator->() const { return owned; }
  Provider& operator*() const { return *owned; }

  /** Drops the reference now; returns the count that is left, -1 for none. */
  int drop() { return owned ? std::exchange(owned, nullptr)->dereference() : -1; }

private:
  Provider* owned;
};

/** A new provider of the type, with the one reference of its creator. */
template <typename Provider, typename... Arguments>
Owned<Provider> make(Arguments&&... arguments)
{
  return Owned<Provider>(new Provider(std::forward<Arguments>(arguments)...));
}

/** References held on the provider at this moment. */
template <typename Provider>
int referenceCount(Provider& provider)
{
  provider.reference();
  return provider.dereference();
}

} // namespace support
