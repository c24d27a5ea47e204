// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <gtest/gtest.h>
#include <plist/plist.h>
#include <sys/file.h>
#include <unistd.h>

#include <future>
#include <thread>

#include "platform/files/KeyFilePreferences.h"
#include "platform/files/PlistPropertyList.h"
#include "platform/files/StandardErrorLog.h"
#include "testing/contracts/PreferencesContract.h"
#include "testing/contracts/PropertyListContract.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using platform::JSONValue;
using platform::KeyFilePreferences;
using platform::PlistPropertyList;
using std::filesystem::perms, std::filesystem::status;

/// What a constructor says of a file that it refuses.
template <typename Adapter>
std::string refusal(const std::string& path) try {
  const Adapter adapter(path);
  return "none";
} catch (const std::runtime_error& fault) {
  return fault.what();
}

using namespace brivane::testing;

struct KeyFile {
  std::shared_ptr<platform::Preferences> open() const {
    return std::make_shared<KeyFilePreferences>(folder.path() / "new" / "brivane" / "preferences");
  }
  const TemporaryFolder folder;
};

INSTANTIATE_TYPED_TEST_SUITE_P(KeyFile, PreferencesContract, KeyFile);

TEST(Preferences, KeepTextsForOthersAndForNobodyElse) {
  const KeyFile file;
  const auto first = file.open(), second = file.open();
  const std::string texts[] = {"\xFF\xC3", std::string("\0", 1), "1"};
  EXPECT_FALSE(second->objectForKey("k1"));
  for (const std::string& text : texts) first->setValue_forKey(text, "k" + text);
  const auto folder = file.folder.path() / "new" / "brivane";
  EXPECT_FALSE(std::filesystem::exists(folder / "preferences"));
  ASSERT_TRUE(first->synchronize());
  for (const std::string& text : texts) EXPECT_EQ(second->stringForKey("k" + text), text);
  second->setValue_forKey("2", "other");
  ASSERT_TRUE(second->synchronize());
  EXPECT_EQ(file.open()->stringForKey("other"), "2");
  EXPECT_EQ(file.open()->stringForKey("k1"), "1");
  EXPECT_THROW(first->setValue_forKey("3", ""), std::invalid_argument);
  EXPECT_EQ(status(folder / "preferences").permissions(), perms::owner_read | perms::owner_write);
  EXPECT_EQ(status(folder).permissions(), perms::owner_all);
  setenv("XDG_CONFIG_HOME", "/somewhere", 1);
  EXPECT_EQ(KeyFilePreferences::pathFor("org.example.Walk"), "/somewhere/org.example.Walk/preferences");
  for (const char* name : {"", "..", "a/b"}) EXPECT_THROW(KeyFilePreferences::pathFor(name), std::invalid_argument);
}

TEST(Preferences, WaitForAWriterOnlyToWriteAndNotForEver) {
  const TemporaryFolder folder;
  KeyFilePreferences preferences(folder.path() / "p");
  preferences.setValue_forKey("1", "a");
  const int other = open(folder.path().c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_EQ(flock(other, LOCK_EX), 0);
  std::promise<bool> written;
  std::jthread writer([&] { written.set_value(preferences.synchronize()); });
  EXPECT_EQ(preferences.stringForKey("a"), "1");
  EXPECT_FALSE(preferences.stringForKey("b"));
  EXPECT_FALSE(written.get_future().get());
  EXPECT_FALSE(std::filesystem::exists(folder.path() / "p"));
  close(other);
  EXPECT_TRUE(preferences.synchronize());
}

TEST(Preferences, LeaveADamagedFileAlone) {
  const TemporaryFolder folder;
  const std::string damages[] = {"[preferences]\ninstallUUID", "installUUID=1\n",        "[preferences]\na=\xFF\xFE\n",
                                 std::string("[pref\0", 6),    "[preferences]\na=\\q\n", "[preferences]\na=%4\n"};
  for (const std::string& damage : damages) {
    const std::string path = folder.write("p", "");
    KeyFilePreferences earlier(path);
    earlier.setValue_forKey("1", "a");
    folder.write("p", damage);
    EXPECT_FALSE(earlier.synchronize());
    EXPECT_FALSE(earlier.stringForKey("b"));
    const std::string fault = refusal<KeyFilePreferences>(path);
    EXPECT_TRUE(fault.starts_with(path + ": the preferences cannot be read: ")) << fault;
    EXPECT_EQ(fault.find('\n'), std::string::npos);
    std::ostringstream left;
    left << std::ifstream(path, std::ios::binary).rdbuf();
    EXPECT_EQ(left.str(), damage);
  }
  EXPECT_THROW(KeyFilePreferences{"/dev/null/p"}, std::runtime_error);
}

std::string binaryOf(const std::string& xml) {
  plist_t root = nullptr;
  plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &root);
  char* bytes = nullptr;
  std::uint32_t size = 0;
  plist_to_bin(root, &bytes, &size);
  std::string binary(bytes, size);
  plist_free(root);
  std::free(bytes);
  return binary;
}

const std::string kList =
    "<plist version=\"1.0\"><dict><key>text</key><string>ñ &amp; x</string><key>number</key>"
    "<integer>7</integer><key>d</key><dict><key>none</key><string>f</string></dict></dict></plist>";

template <bool isBinary>
struct PlistFile {
  std::shared_ptr<platform::PropertyList> open() const {
    return std::make_shared<PlistPropertyList>(folder.write("Info.plist", isBinary ? binaryOf(kList) : kList));
  }
  const TemporaryFolder folder;
};

using Plists = testing::Types<PlistFile<false>, PlistFile<true>>;
INSTANTIATE_TYPED_TEST_SUITE_P(Plist, PropertyListContract, Plists);

TEST(PropertyList, NamesWhatIsNone) {
  const TemporaryFolder folder;
  const auto nested = [](int depth) {
    std::string opened = "<plist><dict><key>k</key>", closed;
    for (; depth > 0; --depth) opened += "<array>", closed += "</array>";
    return opened + closed + "</dict></plist>";
  };
  const std::string other = "not a property list", deep = "more than 1000 dictionaries and lists";
  const std::pair<std::string, std::string> rows[] = {
      {"", other},
      {kList.substr(0, 60), other},
      {binaryOf(kList).substr(0, 40), other},
      {"<plist><array/></plist>", "no dictionary at the top of the property list"},
      {std::string((1 << 20) + 1, ' '), "larger than 1 MiB"},
      {nested(999), "none"},
      {nested(60'000), deep},
      {binaryOf(nested(1500)), deep},
  };
  for (const auto& [contents, fault] : rows) {
    const std::string path = folder.write("Info.plist", contents);
    EXPECT_EQ(refusal<PlistPropertyList>(path), fault == "none" ? fault : path + ": " + fault);
  }
  const std::string zero(
      "<plist><dict><key>a\0b</key><string>c\0d</string><key>k</key><string>\0</string></dict></plist>", 86);
  const std::string path = folder.write("Info.plist", zero);
  EXPECT_NO_THROW(PlistPropertyList(path).objectForInfoDictionaryKey("k"));
  EXPECT_EQ(refusal<PlistPropertyList>("/nowhere"), "/nowhere: No such file or directory");
  EXPECT_EQ(refusal<PlistPropertyList>("/"), "/: not a file");
}

TEST(ErrorLog, WritesOneLineALine) {
  platform::StandardErrorLog log;
  const std::string line(100000, 'x');
  testing::internal::CaptureStderr();
  log.write("DATA: {\n} ñ€\xF0\x9F\x98\x80 \x1b[2J\x7F\u009b\xC3 \xED\xA0\x80");
  log.write(line);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "DATA: {\\n} ñ€\xF0\x9F\x98\x80 \\x1b[2J\\x7f\\xc2\\x9b\\xc3 \\xed\\xa0\\x80\n" + line + "\n");
}

}  // namespace
