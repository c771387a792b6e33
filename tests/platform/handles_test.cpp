// Handle memory: blocks are apart, zeroed, aligned for any type, and stay put.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "platform/services/Handles.h"

TEST(Handles, BlocksAreSeparateZeroedAlignedAndStayPut) {
    std::vector<void**> handles;
    for (std::size_t bytes = 0; bytes < 70; ++bytes) {
        void** handle = NewHandle(bytes);
        ASSERT_NE(handle, nullptr);
        ASSERT_NE(*handle, nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(*handle) % alignof(std::max_align_t), 0u);
        for (std::size_t i = 0; i < bytes; ++i)
            ASSERT_EQ(static_cast<unsigned char*>(*handle)[i], 0);
        std::memset(*handle, static_cast<int>(bytes), bytes);
        handles.push_back(handle);
    }
    for (std::size_t bytes = 0; bytes < handles.size(); ++bytes) {
        void* before = *handles[bytes];
        HLock(handles[bytes]);
        HUnlock(handles[bytes]);
        EXPECT_EQ(*handles[bytes], before);
        for (std::size_t i = 0; i < bytes; ++i)
            ASSERT_EQ(static_cast<unsigned char*>(before)[i], bytes);
        DisposeHandle(handles[bytes]);
    }
}

TEST(Handles, NullIsLetPassAndAnImpossibleSizeIsRefused) {
    HLock(nullptr);
    HUnlock(nullptr);
    DisposeHandle(nullptr);
    EXPECT_EQ(NewHandle(SIZE_MAX - 1), nullptr);
}
