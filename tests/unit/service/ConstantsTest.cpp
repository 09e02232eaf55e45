#include "quillgate/service/Constants.h"

#include <gtest/gtest.h>

#include "tests/support/TestPlatform.h"

namespace quillgate {
namespace {

using testing::TestPlatform;

class ConstantsTest : public ::testing::Test {
  protected:
    TestPlatform tp;
};

TEST_F(ConstantsTest, AnonymousIdIsMadeOnceAndMarksANewReader) {
    EXPECT_FALSE(Constants::isNewReader());

    const std::string first = Constants::anonymousID();
    EXPECT_EQ(first, "00000000-0000-4000-8000-000000000001");
    EXPECT_TRUE(tp.printed("New Anonymous ID: " + first));
    EXPECT_TRUE(Constants::isNewReader());
    EXPECT_EQ(tp.defaults().string("AnonymousID"), first);

    Constants::isNewReader() = false;
    EXPECT_EQ(Constants::anonymousID(), first);
    EXPECT_TRUE(tp.printed("Existing Anonymous ID: " + first));
    EXPECT_FALSE(Constants::isNewReader()) << "only the creation marks a new reader";
    // Plain objects: written without a synchronisation.
    EXPECT_EQ(tp.defaults().synchronizeCount(), 0);

    // A stored value that is no text is replaced.
    tp.defaults().setObject(42, "AnonymousID");
    const std::string replaced = Constants::anonymousID();
    EXPECT_NE(replaced, first);
    EXPECT_TRUE(tp.printed("New Anonymous ID: " + replaced));
    EXPECT_EQ(tp.defaults().string("AnonymousID"), replaced);
}

TEST_F(ConstantsTest, PingIdIsRenewedAfterRemoval) {
    const std::string first = Constants::pingID();
    EXPECT_TRUE(tp.printed("New PingID: " + first));
    EXPECT_EQ(Constants::pingID(), first);
    EXPECT_TRUE(tp.printed("Existing PingID: " + first));
    EXPECT_FALSE(Constants::isNewReader());

    Constants::removePingID();
    const std::string second = Constants::pingID();
    EXPECT_NE(second, first);
    EXPECT_TRUE(tp.printed("New PingID: " + second));
}

TEST_F(ConstantsTest, OnlySessionAndChallengeGoThroughTheSynchronisingSetter) {
    EXPECT_EQ(Constants::storedClientUserId(), "");
    EXPECT_TRUE(tp.lines().empty()) << "the client user id prints only when found";
    Constants::setStoredClientUserId("reader-7");
    EXPECT_EQ(Constants::storedClientUserId(), "reader-7");
    EXPECT_TRUE(tp.printed("Existing clientUserId: reader-7"));
    EXPECT_EQ(tp.defaults().synchronizeCount(), 0);

    Constants::setSessionID("s-1");
    Constants::setLoginChallenge("c-1");
    EXPECT_EQ(Constants::sessionID(), "s-1");
    EXPECT_EQ(Constants::loginChallenge(), "c-1");
    EXPECT_EQ(tp.defaults().synchronizeCount(), 2);

    Constants::setSessionID(std::nullopt);
    EXPECT_FALSE(tp.defaults().object("sessionID").has_value()) << "no value removes the key";
    EXPECT_EQ(tp.defaults().synchronizeCount(), 3);

    tp.defaults().setObject(nlohmann::json::array({"x"}), "loginChallenge");
    EXPECT_FALSE(Constants::loginChallenge().has_value()) << "a non-text reads as absent";
}

TEST_F(ConstantsTest, EndingASessionKeepsTheChallengeAndLogoutKeepsOnlyTheIdentities) {
    const std::string anon = Constants::anonymousID();
    const std::string ping = Constants::pingID();
    Constants::setSessionID("s-1");
    Constants::setLoginChallenge("c-1");
    Constants::setStoredClientUserId("reader-7");
    Constants::userID() = "user-1";
    Constants::clientUserId() = "reader-7";

    Constants::clearSession();
    EXPECT_FALSE(Constants::sessionID());
    EXPECT_EQ(Constants::userID(), "");
    EXPECT_EQ(Constants::loginChallenge(), "c-1");
    EXPECT_EQ(Constants::clientUserId(), "reader-7");

    Constants::setSessionID("s-2");
    Constants::userID() = "user-2";
    Constants::clearSignIn();
    EXPECT_FALSE(Constants::sessionID());
    EXPECT_EQ(Constants::userID(), "");
    EXPECT_FALSE(Constants::loginChallenge());
    EXPECT_EQ(Constants::clientUserId(), "");
    EXPECT_EQ(tp.defaults().object("clientUserId"), nlohmann::json(""))
        << "the key stays, with the empty text";
    EXPECT_EQ(tp.defaults().string("AnonymousID"), anon);
    EXPECT_EQ(tp.defaults().string("PingID"), ping);
}

TEST(ConstantsProcessTest, ProcessValuesStartOverWithTheProcessState) {
    for (int round = 0; round < 2; ++round) {
        TestPlatform tp;
        EXPECT_EQ(Constants::userID(), "");
        EXPECT_EQ(Constants::clientUserId(), "");
        EXPECT_FALSE(Constants::isNewReader());
        EXPECT_EQ(Constants::accessType(), "");
        EXPECT_EQ(Constants::unlockedStatus(), 0);
        EXPECT_EQ(Constants::active(), 1);
        EXPECT_EQ(Constants::lastActiveStatus(), 1);
        EXPECT_EQ(Constants::counter(), 1);
        Constants::userID() = "u";
        Constants::accessType() = "SUB";
        Constants::counter() = 9;
    }
}

}  // namespace
}  // namespace quillgate
