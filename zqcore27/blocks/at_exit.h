#pragma once

inline namespace zqcore27 {

/// Makes its call on every way out of a scope; the call must not throw. Internal to the block store.
template <class Call>
class AtExit {
 public:
  explicit AtExit(Call call) : fCall(call) {}
  AtExit(const AtExit&) = delete;
  AtExit& operator=(const AtExit&) = delete;
  ~AtExit() { fCall(); }

 private:
  Call fCall;
};

}  // namespace zqcore27
