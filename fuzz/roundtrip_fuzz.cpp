// Arbitrary bytes encoded with each codec, then decoded by the checked and the
// trusted decoder: both must give back exactly the input. The stream buffer
// is sized by MaxEncodedSize, the bound the encoders promise never to exceed.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "tavrix/tavrix.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  if (size > 8192) return 0;  // keeps every run of the exhaustive LZ77 search short
  const std::vector<std::uint8_t> image(data, data + size);
  for (eCompressType codec : {eHuffman, eLZ77, eRLE}) {
    CImageCompress codecObject;
    codecObject.InitCompress(codec, size);
    const unsigned long long bound = CImageCompress::MaxEncodedSize(codec, size);
    std::vector<std::uint8_t> stream(bound);
    const unsigned long length = codecObject.EncodeImage(image.data(), stream.data(), bound);
    if (length == 0 || length > bound) std::abort();  // the bound must hold for any input

    std::vector<std::uint8_t> checked(size), trusted(size);
    if (!codecObject.DecodeImage(stream.data(), length, checked.data(), size)) std::abort();
    if (size && std::memcmp(checked.data(), image.data(), size) != 0) std::abort();
    codecObject.DecodeImage(stream.data(), size ? trusted.data() : nullptr);
    if (size && std::memcmp(trusted.data(), image.data(), size) != 0) std::abort();

    // The trusted encoder writes the same stream.
    std::vector<std::uint8_t> again(bound);
    if (codecObject.EncodeImage(const_cast<std::uint8_t *>(image.data()), again.data()) != length ||
        std::memcmp(again.data(), stream.data(), length) != 0)
      std::abort();
  }
  return 0;
}
