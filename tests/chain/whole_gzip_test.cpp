// A stream that is refused goes another way, and gives what users know; one that is taken wrongly
// gives a wrong text.  So what counts is that only whole streams are taken, all of the text comes,
// and no length in the file is believed.
#include "chain/input/whole_gzip.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <string>

#include "support/support.h"

namespace tervolanda {
namespace {

std::string packed(const std::string& text, gz_header* header = nullptr) {
    z_stream stream{};
    deflateInit2(&stream, 6, Z_DEFLATED, 16 + MAX_WBITS, 8, Z_DEFAULT_STRATEGY);
    if (header != nullptr) deflateSetHeader(&stream, header);
    std::string bytes(deflateBound(&stream, text.size()) + 64, '\0');
    std::string lent = text;
    stream.next_in = reinterpret_cast<Bytef*>(lent.data());
    stream.avail_in = static_cast<uInt>(lent.size());
    stream.next_out = reinterpret_cast<Bytef*>(bytes.data());
    stream.avail_out = static_cast<uInt>(bytes.size());
    deflate(&stream, Z_FINISH);
    bytes.resize(stream.total_out);
    deflateEnd(&stream);
    return bytes;
}

std::string taken(const std::string& bytes) {
    const auto text = inflateWhole(bytes);
    return text ? std::string(text->text()) : "refused";
}

TEST(InflateWhole, TakesAStreamThatIsWholeAndAloneAndNothingElse) {
    std::string text;
    for (int i = 0; i < 5000; ++i)
        text += "ATOM " + std::to_string(i * i) + "\n";
    const std::string whole = packed(text);
    EXPECT_EQ(taken(whole), text);
    EXPECT_EQ(taken(packed("")), "");
    gz_header named{};
    std::string name = "model.pdb";
    named.name = reinterpret_cast<Bytef*>(name.data());
    EXPECT_EQ(taken(packed(text, &named)), text);

    EXPECT_EQ(taken(whole + whole), "refused");
    EXPECT_EQ(taken(whole + std::string(8, '\0')), "refused");
    EXPECT_EQ(taken(text), "refused");
    for (std::size_t cut = 0; cut < 40; ++cut)
        EXPECT_EQ(taken(whole.substr(0, cut)), "refused") << cut;
    EXPECT_EQ(taken(whole.substr(0, whole.size() - 1)), "refused");
    // Damage of the header's first bytes, the packed text, the checksum and the length.
    for (const std::size_t at : {std::size_t{0}, std::size_t{2}, whole.size() / 2, whole.size() - 8,
                                 whole.size() - 4, whole.size() - 1}) {
        std::string damaged = whole;
        damaged[at] = static_cast<char>(damaged[at] ^ 0x40);
        EXPECT_EQ(taken(damaged), "refused") << at;
    }
}

// zlib looks at this checksum, and so refuses a stream in which it is wrong.
TEST(InflateWhole, RefusesAWrongChecksumOfTheHeader) {
    gz_header checked{};
    checked.hcrc = 1;
    std::string bytes = packed("text", &checked);
    bytes[10] = static_cast<char>(bytes[10] ^ 1);
    EXPECT_EQ(taken(bytes), "refused");
}

// Sixteen million zeros are packed into 16 kB; one more is too many.
TEST(InflateWhole, TakesNoMoreThanItsLimit) {
    EXPECT_EQ(taken(packed(std::string(kMostAtOnce, '\0'))).size(), kMostAtOnce);
    EXPECT_EQ(taken(packed(std::string(kMostAtOnce + 1, '\0'))), "refused");
}

}  // namespace
}  // namespace tervolanda
