// What a client says to the service: targets, ranges, bodies.

#include "ByteRange.h"
#include "FuzzInput.h"
#include "JsonBody.h"
#include "Request.h"

using namespace arkvale::service;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzInput in(data, size);
    const std::uint8_t kind = in.byte();
    if (kind % 4 == 0) {
        Request request;
        (void)parseTarget("/api/v1/" + in.rest(), "/api/v1", request);
    } else if (kind % 4 == 1) {
        const std::uint64_t fileSize = in.number(4);
        const ByteRange range = ByteRange::parse(in.rest(), fileSize);
        if (range.kind == ByteRange::Kind::Part)
            require(range.length > 0 && range.offset < fileSize && range.length <= fileSize - range.offset);
    } else if (kind % 4 == 2) {
        const auto decoded = percentDecode(in.rest());
        if (decoded) {
            require(isUtf8(*decoded));
            const auto again = percentDecode(percentEncode(*decoded));
            require(again && *again == *decoded);
        }
    } else {
        (void)parseJsonObject(in.rest());
    }
    return 0;
}
