#include "tools/koractl/matrix/KeyReader.h"

#include <gtest/gtest.h>

#include <vector>

using namespace koractl;

TEST(KeyReader, GivenSequencesAndLettersCutsThemIntoKeys)
{
    KeyReader sut;
    sut.append("\x1b[A\x1b[6~\x1bOH]qx\x1b[20;5~j");

    std::vector<Key> keys;
    while (const auto key = sut.next())
    {
        keys.push_back(*key);
    }

    EXPECT_EQ(keys, (std::vector{Key::up, Key::pageDown, Key::home, Key::pageRight, Key::quit, Key::unknown,
                                 Key::unknown, Key::down}));
}

TEST(KeyReader, GivenSequenceInPiecesWaitsForItsEnd)
{
    KeyReader sut;

    sut.append("\x1b");
    EXPECT_EQ(sut.next(), std::nullopt);
    sut.append("[5");
    EXPECT_EQ(sut.next(), std::nullopt);
    sut.append("~");
    EXPECT_EQ(sut.next(), Key::pageUp);
    EXPECT_EQ(sut.next(), std::nullopt);
}

TEST(KeyReader, GivenEscapeKeyAloneGoesOnWithTheNextKey)
{
    KeyReader sut;

    sut.append("\x1bq");

    EXPECT_EQ(sut.next(), Key::unknown);
    EXPECT_EQ(sut.next(), Key::quit);
}
