#include <gtest/gtest.h>
#include <plist/plist.h>
#include <sys/stat.h>

#include <stdexcept>

#include "platform/files/KeyFilePreferences.h"
#include "platform/files/PlistPropertyList.h"
#include "platform/files/StandardErrorLog.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using platform::JSONValue;
using platform::KeyFilePreferences;
using platform::PlistPropertyList;

TEST(Preferences, KeepTextsForLaterAndForOthers) {
  const TemporaryFolder folder;
  const std::string path = folder.path() / "new" / "brivane" / "preferences";
  const std::string odd = " lead\nline\ttab\\ ñ=;[x]";
  KeyFilePreferences first(path);
  KeyFilePreferences second(path);
  EXPECT_FALSE(first.objectForKey("installUUID"));
  first.setValue_forKey(odd, "installUUID");
  EXPECT_EQ(first.stringForKey("installUUID"), odd);
  EXPECT_EQ(first.objectForKey("installUUID"), JSONValue(odd));
  EXPECT_FALSE(std::filesystem::exists(path));
  ASSERT_TRUE(first.synchronize());
  second.setValue_forKey("2", "other");
  ASSERT_TRUE(second.synchronize());
  EXPECT_EQ(second.stringForKey("installUUID"), odd);  // found, not lost
  EXPECT_EQ(KeyFilePreferences(path).stringForKey("other"), "2");
  struct stat status {};
  ASSERT_EQ(stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
  ASSERT_EQ(stat((folder.path() / "new" / "brivane").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0700U);
  setenv("XDG_CONFIG_HOME", "/somewhere", 1);
  EXPECT_EQ(KeyFilePreferences::defaultPath(), "/somewhere/brivane/preferences");
}

TEST(Preferences, LeaveADamagedFileAlone) {
  const TemporaryFolder folder;
  const std::string damages[] = {"[preferences]\ninstallUUID", "installUUID=1\n", "[preferences]\na=\xFF\xFE\n",
                                 std::string("[pref\0", 6), "[preferences]\na=\\q\n"};
  for (const std::string& damage : damages) {
    const std::string path = folder.write("p", "");
    KeyFilePreferences earlier(path);
    earlier.setValue_forKey("1", "a");
    folder.write("p", damage);
    EXPECT_FALSE(earlier.synchronize());
    std::string error;
    try {
      KeyFilePreferences damaged(path);
    } catch (const std::runtime_error& fault) {
      error = fault.what();
    }
    EXPECT_EQ(error.substr(0, path.size() + 2), path + ": ") << damage;
    EXPECT_EQ(error.find('\n'), std::string::npos);
    std::ifstream file(path, std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), damage);
  }
  EXPECT_THROW(KeyFilePreferences{"/dev/null/p"}, std::runtime_error);
}

TEST(PropertyList, ReadsTextsFromXMLAndBinary) {
  const TemporaryFolder folder;
  const std::string xml =
      "<plist version=\"1.0\"><dict><key>k</key><string>ñ &amp; x</string><key>n</key>"
      "<integer>7</integer><key>d</key><dict><key>e</key><string>f</string></dict></dict></plist>";
  plist_t root = nullptr;
  plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &root);
  char* bytes = nullptr;
  std::uint32_t size = 0;
  plist_to_bin(root, &bytes, &size);
  const std::string binary(bytes, size);
  plist_free(root);
  std::free(bytes);
  for (const std::string& contents : {xml, binary}) {
    const PlistPropertyList list(folder.write("Info.plist", contents));
    EXPECT_EQ(list.objectForInfoDictionaryKey("k"), "ñ & x");
    EXPECT_FALSE(list.objectForInfoDictionaryKey("n"));
    EXPECT_FALSE(list.objectForInfoDictionaryKey("e"));
  }
  for (const std::string& contents : {std::string(), std::string("text"), xml.substr(0, 60), binary.substr(0, 40),
                                      std::string("<plist><array/></plist>"), std::string((1 << 20) + 1, ' ')}) {
    const std::string path = folder.write("Info.plist", contents);
    EXPECT_THROW(PlistPropertyList{path}, std::runtime_error) << contents.substr(0, 99);
  }
  const std::string zero(
      "<plist><dict><key>a\0b</key><string>c\0d</string><key>k</key><string>\0</string></dict></plist>", 86);
  const std::string path = folder.write("Info.plist", zero);
  EXPECT_NO_THROW(PlistPropertyList(path).objectForInfoDictionaryKey("k"));
  EXPECT_THROW(PlistPropertyList{"/nowhere"}, std::runtime_error);
  EXPECT_THROW(PlistPropertyList{folder.path()}, std::runtime_error);
}

TEST(ErrorLog, WritesOneLineALine) {
  platform::StandardErrorLog log;
  const std::string line(100000, 'x');
  testing::internal::CaptureStderr();
  log.write("DATA: {\n}");
  log.write(line);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "DATA: {\\n}\n" + line + "\n");
}

}  // namespace
