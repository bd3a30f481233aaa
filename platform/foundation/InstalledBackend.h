#pragma once

#include <cassert>

namespace tessera {

// The one implementation behind a platform service in this process. Programs install
// the real one when they start; tests install a fake for the length of a fixture.
//
// Threads: installed before the first use and taken away after the last; in between
// any thread may ask.
template <class Interface>
class InstalledBackend {
 public:
  class Installation {
   public:
    explicit Installation(Interface& backend) : _previous(_current) { _current = &backend; }
    Installation(const Installation&) = delete;
    Installation& operator=(const Installation&) = delete;
    ~Installation() { _current = _previous; }

   private:
    Interface* _previous;
  };

  [[nodiscard]] static Interface& get() {
    assert(_current != nullptr && "no implementation of this service is installed");
    return *_current;
  }

 private:
  inline static Interface* _current = nullptr;
};

}  // namespace tessera
