#include "files/own_bug.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>

TEST(OwnBug, saysWhatWasDoneWhatCameAndWhere)
{
    const std::string sentence = files::ownBug("check Yag.mdb", std::out_of_range("vector::at"));
    EXPECT_NE(sentence.find("Programda bir hata var"), std::string::npos);
    EXPECT_NE(sentence.find("check Yag.mdb"), std::string::npos);
    EXPECT_NE(sentence.find("out_of_range"), std::string::npos);
    EXPECT_NE(sentence.find("vector::at"), std::string::npos);
    EXPECT_NE(sentence.find("own_bug.cpp:"), std::string::npos);
}

TEST(OwnBug, keepsTheFoldersOfTheBuilderToItself)
{
    EXPECT_EQ(files::ownBug("x", std::bad_alloc()).find('/'), std::string::npos);
}
