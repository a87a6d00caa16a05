#pragma once

#include <gtest/gtest.h>
#include <zip.h>

#include <string>
#include <utility>
#include <vector>

namespace Ambrel::Test {

/// Members of an archive: names and contents. A mode makes a member of that kind (S_IFLNK).
struct ZipMember {
    std::string name;
    std::string content;
    unsigned mode = 0;
};

inline void WriteZip(std::string const& path, std::vector<ZipMember> const& members) {
    zip_t* const zip = zip_open(path.c_str(), ZIP_CREATE | ZIP_TRUNCATE, nullptr);
    ASSERT_NE(zip, nullptr);
    for (ZipMember const& member : members) {
        zip_source_t* const source =
            zip_source_buffer(zip, member.content.data(), member.content.size(), 0);
        zip_int64_t const index = zip_file_add(zip, member.name.c_str(), source, ZIP_FL_ENC_RAW);
        ASSERT_GE(index, 0) << member.name;
        if (member.mode != 0) {
            zip_file_set_external_attributes(zip, static_cast<zip_uint64_t>(index), 0,
                                             ZIP_OPSYS_UNIX, member.mode << 16);
        }
    }
    ASSERT_EQ(zip_close(zip), 0);
}

} // namespace Ambrel::Test
