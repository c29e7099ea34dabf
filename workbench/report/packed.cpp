#include "report/packed.h"

#include <zlib.h>

#include <boost/archive/iterators/base64_from_binary.hpp>
#include <boost/archive/iterators/transform_width.hpp>
#include <new>

namespace workbench {

namespace {

std::string compressed(const std::string& text) {
    constexpr int kGzip = 16;  // beside the size of the window: gzip's head, not zlib's
    z_stream stream = {};
    if (deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, MAX_WBITS + kGzip, 9,
                     Z_DEFAULT_STRATEGY) != Z_OK)
        throw std::bad_alloc();
    std::string bytes(deflateBound(&stream, text.size()), '\0');
    std::string from = text;
    stream.next_in = reinterpret_cast<Bytef*>(from.data());
    stream.avail_in = static_cast<uInt>(from.size());
    stream.next_out = reinterpret_cast<Bytef*>(bytes.data());
    stream.avail_out = static_cast<uInt>(bytes.size());
    deflate(&stream, Z_FINISH);
    bytes.resize(stream.total_out);
    deflateEnd(&stream);
    return bytes;
}

}  // namespace

std::string packed(const std::string& text) {
    using namespace boost::archive::iterators;
    using Base64 = base64_from_binary<transform_width<std::string::const_iterator, 6, 8>>;
    std::string bytes = compressed(text);
    const std::size_t nbMissing = (3 - bytes.size() % 3) % 3;
    bytes.append(nbMissing, '\0');
    const std::string letters(Base64(bytes.begin()), Base64(bytes.end()));
    return letters.substr(0, letters.size() - nbMissing) + std::string(nbMissing, '=');
}

}  // namespace workbench
