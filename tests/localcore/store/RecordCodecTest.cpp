// The codec alone: round trips against both kinds of dictionary, and bodies
// that must be refused rather than trusted.
#include "DictionaryBuilder.h"
#include "EventSamples.h"
#include "RecordCodec.h"

#include <gtest/gtest.h>

#include <zstd.h>

using namespace Norvane::LocalCore;

namespace {

std::vector<std::string> Samples(int count)
{
    QdxStoreSamples::EventSamples events;
    std::vector<std::string> samples;
    for (int i = 0; i < count; ++i)
        samples.push_back(events.Next(i));
    return samples;
}

}  // namespace

// Too few samples for the trainer give the newest samples themselves.
TEST(RecordCodecTest, DictionaryFallsBackToRawContent)
{
    EXPECT_EQ("", BuildDictionary({}, 4096));
    std::vector<std::string> const few = {"{\"a\":1}", "{\"b\":2}", "{\"c\":3}"};
    EXPECT_EQ("{\"b\":2}{\"c\":3}", BuildDictionary(few, 14));

    std::string const trained = BuildDictionary(Samples(200), 8192);
    EXPECT_EQ(8192u, trained.size());
    EXPECT_EQ(0, trained.compare(0, 4, "\x37\xA4\x30\xEC")) << "zstd's own dictionary format";
}

TEST(RecordCodecTest, TextsRoundTripAgainstEitherDictionary)
{
    std::vector<std::string> const samples = Samples(300);
    RecordCodec codec;
    ASSERT_TRUE(codec.AddDictionary(1, BuildDictionary({samples.begin(), samples.begin() + 2}, 16384)));
    ASSERT_TRUE(codec.AddDictionary(2, BuildDictionary({samples.begin(), samples.begin() + 200}, 16384)));
    EXPECT_FALSE(codec.CompressWith(3));
    for (long long id : {1, 2}) {
        ASSERT_TRUE(codec.CompressWith(id));
        for (size_t i = 200; i < samples.size(); ++i) {
            std::string_view body;
            std::string error, text;
            ASSERT_TRUE(codec.Compress(samples[i], body, error)) << error;
            EXPECT_LT(body.size() * 2, samples[i].size());
            std::string const kept(body);
            ASSERT_TRUE(codec.Decompress(id, kept, text, error)) << error;
            EXPECT_EQ(samples[i], text);
        }
    }
}

TEST(RecordCodecTest, DamagedBodiesAreRefused)
{
    RecordCodec codec;
    ASSERT_TRUE(codec.AddDictionary(1, BuildDictionary(Samples(100), 8192)));
    ASSERT_TRUE(codec.CompressWith(1));
    std::string_view body;
    std::string error, text;
    ASSERT_TRUE(codec.Compress(Samples(1)[0], body, error));
    std::string const good(body);
    // A body that claims more than a record may hold is refused before anything is allocated.
    std::string const huge(RecordCodec::kMaxTextBytes + 1, ' ');
    ASSERT_TRUE(codec.Compress(huge, body, error));
    std::string const tooLarge(body);

    for (std::string const& bad :
         {std::string(), std::string("\x00\xff\x13", 3), good.substr(0, good.size() / 2), good + "tail", tooLarge}) {
        EXPECT_FALSE(codec.Decompress(1, bad, text, error)) << bad.size();
        EXPECT_FALSE(error.empty());
    }
    EXPECT_FALSE(codec.Decompress(7, good, text, error)) << "unknown dictionary";
    EXPECT_TRUE(codec.Decompress(1, good, text, error)) << error;
}
