// libFuzzer target: record lines as uwserver report reads them, each line parsed and counted. A line is a
// record or refused with a reason, and what a record holds lies inside its line or is decoded from it.
#include <cstring>

#include "FuzzSupport.h"
#include "RecordLine.h"
#include "RecordTally.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size)
{
    std::string_view input(reinterpret_cast<const char*>(data), size);
    CRecordParser parser;
    CRecordLine line;
    CRecordTally tally;
    for (std::size_t start = 0; start <= input.size();) {
        std::size_t end = std::min(input.find('\n', start), input.size());
        std::string_view text = input.substr(start, end - start);
        start = end + 1;
        std::string why;
        if (!parser.Parse(text, line, why)) {
            if (why.empty())
                FuzzSupport::Fail("refused without a reason");
            continue;
        }
        std::size_t held = line.time.size() + line.path.size() + line.reply.size();
        for (const auto& p : line.params)
            held += p.first.size() + p.second.size();
        if (held > text.size())
            FuzzSupport::Fail("a record holds more than its line");
        tally.Add(line);
    }
    if (tally.Total().served + tally.Total().refused != tally.Total().requests)
        FuzzSupport::Fail("requests are not served plus refused");
    return 0;
}
