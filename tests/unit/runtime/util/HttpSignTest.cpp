#include "runtime/util/HttpSign.h"

#include <gtest/gtest.h>

#include <string>

using com::tallowcrest::util::HttpSign;

namespace
{

/// What a sign says of a text that comes byte by byte.
bool isSeen(HttpSign::Methods methods, const std::string& text)
{
    HttpSign sut(methods);
    bool seen = false;
    for (const char byte : text)
    {
        seen = sut.feed({&byte, 1});
    }
    return seen;
}

class HttpMethod : public testing::TestWithParam<const char*>
{};

} // namespace

TEST_P(HttpMethod, IsSeenWithItsFourthByteAndNotBefore)
{
    const std::string request = std::string(GetParam()) + " / HTTP/1.1\r\n";
    for (const auto methods : {HttpSign::Methods::AtTheStart, HttpSign::Methods::OnEveryLine})
    {
        HttpSign sut(methods);

        EXPECT_FALSE(sut.feed(request.substr(0, 3)));
        EXPECT_TRUE(sut.feed(request.substr(3, 1)));
        EXPECT_TRUE(sut.feed(request.substr(4))) << "and stays so";
        EXPECT_TRUE(HttpSign(methods).feed(request)) << "in one piece";
    }
}

INSTANTIATE_TEST_SUITE_P(All, HttpMethod,
                         testing::Values("GET", "HEAD", "POST", "PUT", "DELETE", "CONNECT", "OPTIONS", "TRACE",
                                         "PATCH"));

TEST(HttpSign, MethodOnALaterLineCountsOnlyWherePeopleType)
{
    EXPECT_TRUE(isSeen(HttpSign::Methods::OnEveryLine, "\r\nPOST / HTTP/1.1\r\n"));
    EXPECT_FALSE(isSeen(HttpSign::Methods::AtTheStart, "\r\nPOST / HTTP/1.1\r\n"));
}

TEST(HttpSign, HostLineIsSeenInAnyCaseWhateverCameBefore)
{
    for (const auto methods : {HttpSign::Methods::AtTheStart, HttpSign::Methods::OnEveryLine})
    {
        EXPECT_TRUE(isSeen(methods, "FIND / HTTP/1.1\r\nHost: board\r\n"));
        EXPECT_TRUE(isSeen(methods, "FIND / HTTP/1.1\nhOST:"));
        EXPECT_TRUE(isSeen(methods, "Host:"));
        EXPECT_FALSE(isSeen(methods, "FIND / HTTP/1.1\r\nMy-Host: board\r\n"));
    }
}

TEST(HttpSign, WhatOperatorsTypeIsNone)
{
    for (const char* line :
         {"q", "11", "show tasks", "Show Server Connections", "post", "get", "", " GET", "GETS", "Hosts"})
    {
        EXPECT_FALSE(isSeen(HttpSign::Methods::OnEveryLine, std::string(line) + "\r\nq\r\n")) << line;
    }
}

TEST(HttpSign, WordsOfARequestAreNoneWhateverTheySay)
{
    // A tag, an output 10 and a holder whose numbers read as text.
    const std::string request("\0\0\0\x0cPOST\0\0\0\x20\0\0\0\x50\0\0\0\x01\0\0\0\0\0\0\0\x0aPOST", 32);

    EXPECT_FALSE(isSeen(HttpSign::Methods::AtTheStart, request));
}
