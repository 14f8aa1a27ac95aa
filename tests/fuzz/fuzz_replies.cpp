// What a service says to the client: listings, records, tickets.

#include "FileItemReader.h"
#include "FuzzInput.h"
#include "TicketClient.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzInput in(data, size);
    const std::uint8_t kind = in.byte();
    const QByteArray body(reinterpret_cast<const char *>(in.data()), int(in.left()));
    switch (kind % 4) {
    case 0:
        (void)FileItemReader::items(body, kind & 4 ? FileItemReader::ListingTime : FileItemReader::PlainTime);
        break;
    case 1:
        (void)FileItemReader::item(body, kind & 4 ? FileItemReader::ListingTime : FileItemReader::PlainTime);
        break;
    case 2:
        (void)FileItemReader::names(body);
        break;
    default: {
        const TicketAnswer answer = TicketClient::parse(body);
        require(answer.error != ZpdtError::None || !answer.ticket.isEmpty());
    }
    }
    return 0;
}
