// Reads fuzzer bytes as a sequence of values; past the end every read gives zeros.
#ifndef TAVRIX_FUZZ_FUZZ_INPUT_H
#define TAVRIX_FUZZ_FUZZ_INPUT_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace tavrix_fuzz {

class FuzzInput {
public:
  FuzzInput(const std::uint8_t *data, std::size_t size) : data_(data), size_(size) {}

  template <class T>
  T Take() {
    T value{};
    std::uint8_t bytes[sizeof(T)] = {};
    for (std::size_t i = 0; i < sizeof(T) && pos_ < size_; ++i) bytes[i] = data_[pos_++];
    std::memcpy(&value, bytes, sizeof(T));
    return value;
  }

  // A value in [lo, hi], or now and then (one time in 16) the raw value itself.
  int Small(int lo, int hi) {
    const std::uint8_t pick = Take<std::uint8_t>();
    const int raw = Take<std::int32_t>();
    if ((pick & 15) == 0) return raw;
    const unsigned span = unsigned(hi - lo) + 1;
    return lo + int(unsigned(raw) % span);
  }

  // A value in [lo, hi], never outside.
  int Bounded(int lo, int hi) {
    const unsigned span = unsigned(hi - lo) + 1;
    return lo + int(Take<std::uint32_t>() % span);
  }

  // Fills a buffer with the remaining bytes, repeated; zeros when there are none.
  void Fill(std::uint8_t *out, std::size_t n) {
    const std::size_t left = size_ - pos_;
    for (std::size_t i = 0; i < n; ++i) out[i] = left ? data_[pos_ + i % left] : 0;
  }

private:
  const std::uint8_t *data_;
  std::size_t size_;
  std::size_t pos_ = 0;
};

}  // namespace tavrix_fuzz

#endif
