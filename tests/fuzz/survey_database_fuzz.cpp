// Arbitrary bytes as a survey database: the header, then rows until the end or a fault.
#include "fuzz_input.h"
#include "survey/database_rows.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    sorvek::fuzzing::ByteStream stream(data, size);
    if (stream.file == nullptr) return 0;
    sorvek::FormatCursor cursor{stream.file};
    (void)sorvek::readDatabaseHeader(cursor);
    for (int rows = 0; rows < 100000; ++rows) {
        const sorvek::RowRead read = sorvek::readDatabaseRow(cursor);
        if (read.outcome != sorvek::RowOutcome::row) break;
    }
    return 0;
}
