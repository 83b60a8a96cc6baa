// Status: what a call of the tavrix:: interface returns. Either ok, or a code and
// a message that says why the call was refused, with the numbers involved
// ("output is 640x480 but the input needs at least 1280x960"). A refused call
// writes nothing to its outputs. No function of the interface throws.
#ifndef TAVRIX_STATUS_H
#define TAVRIX_STATUS_H

#include <string>
#include <utility>

namespace tavrix {

enum class StatusCode : int {
  kOk = 0,
  kNullPointer = 1,     // a view or buffer without data
  kInvalidSize = 2,     // a size the algorithm refuses (odd, below 4, negative, too large)
  kInvalidStride = 3,   // a row stride shorter than a row, or not a multiple of the sample
  kSizeMismatch = 4,    // input and output do not fit together
  kInvalidOption = 5,   // an option outside its range (bit depth, origin, sample factor, ...)
  kUnsupported = 6,     // a combination the library does not offer (8-bit samples to 48-bit)
  kCapacity = 7,        // a destination too small for the result
  kCorruptStream = 8,   // a compressed stream that is damaged or of another codec
  kOutOfMemory = 9,     // working memory could not be allocated
};

class Status {
 public:
  Status() = default;  // ok
  Status(StatusCode code, std::string message) : code_(code), message_(std::move(message)) {}

  bool ok() const { return code_ == StatusCode::kOk; }
  StatusCode code() const { return code_; }
  // Empty when ok.
  const std::string &message() const { return message_; }

 private:
  StatusCode code_ = StatusCode::kOk;
  std::string message_;
};

}  // namespace tavrix

#endif
