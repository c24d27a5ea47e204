#include <gtest/gtest.h>
#include <plist/plist.h>
#include <sys/stat.h>

#include <clocale>
#include <cmath>
#include <functional>
#include <limits>
#include <stdexcept>

#include "platform/linux/KeyFilePreferences.h"
#include "platform/linux/PlistPropertyList.h"
#include "platform/linux/SimdJSON.h"
#include "platform/linux/StandardErrorLog.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using platform::JSONError;
using platform::JSONValue;
using platform::KeyFilePreferences;
using platform::PlistPropertyList;
using platform::SimdJSON;

std::string nested(int depth) {
  return std::string(static_cast<std::size_t>(depth), '[') + std::string(static_cast<std::size_t>(depth), ']');
}

TEST(JSON, ReadsAndWritesTheSameCompactText) {
  ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
  const SimdJSON json;
  const std::pair<std::string, std::string> rows[] = {
      {"{}", "{}"},
      {" [ ] \n", "[]"},
      {R"({"b":[true,false,null],"a":{"":-1}})", R"({"b":[true,false,null],"a":{"":-1}})"},
      {"[40.4168,1e21,1E5,100000.0,-0.0,0.00001]", "[40.4168,1e+21,100000,100000,-0,1e-05]"},
      {"[9223372036854775807,-9223372036854775808]", "[9223372036854775807,-9223372036854775808]"},
      {"[18446744073709551615]", "[1.8446744073709552e+19]"},  // larger ones become reals
      {R"([123456789012345678901,-99999999999999999999,{"9999999999999999999999\"8":1.5,"e":false}])",
       R"([1.2345678901234568e+20,-1e+20,{"9999999999999999999999\"8":1.5,"e":false}])"},
      {"[\"" + std::string(16 << 20, 'x') + "\"]", "[\"" + std::string(16 << 20, 'x') + "\"]"},
      {R"(["\u0041\u00f1\ud83d\ude00\/\"\\\b\f\n\r\t\u0001"])",
       "[\"Añ\xF0\x9F\x98\x80/\\\"\\\\\\b\\f\\n\\r\\t\\u0001\"]"},
      {nested(512), nested(512)},
  };
  for (const auto& [text, expected] : rows) {
    const auto value = json.read(text);
    ASSERT_TRUE(std::holds_alternative<JSONValue>(value)) << text;
    EXPECT_EQ(std::get<std::string>(json.write(std::get<JSONValue>(value))), expected);
  }
  const auto twice = std::get<JSONValue>(json.read(R"({"k":1,"k":2})"));
  EXPECT_EQ(twice.find("k")->integer(), 1);
}

TEST(JSON, RefusesAllElse) {
  const SimdJSON json;
  for (const std::string& text : std::vector<std::string>{"",
                                                          " ",
                                                          "1",
                                                          "\"a\"",
                                                          "null",
                                                          "{",
                                                          "[1,]",
                                                          "{\"a\":}",
                                                          "{'a':1}",
                                                          "{}{}",
                                                          "{} x",
                                                          "[01]",
                                                          "[.5]",
                                                          "[NaN]",
                                                          "[1e400]",
                                                          "[" + std::string(400, '9') + "]",
                                                          "[00000000000000000000001]",
                                                          "[99999999999999999999",
                                                          "[99999999999999999999,\"\\",
                                                          "[\"\\ud800\"]",
                                                          "[\"\xC3\"]",
                                                          "[\"\xED\xA0\x80\"]",
                                                          "[\"\n\"]",
                                                          "\xEF\xBB\xBF{}",
                                                          std::string("[\0]", 3),
                                                          nested(513),
                                                          nested(100000)}) {
    EXPECT_TRUE(std::holds_alternative<JSONError>(json.read(text))) << text.substr(0, 20);
  }
  EXPECT_TRUE(std::holds_alternative<JSONError>(json.read({})));
  JSONValue deep;
  for (int i = 0; i < 513; ++i) deep = JSONValue::List{deep};
  for (const JSONValue& value : {JSONValue(std::nan("")), JSONValue(JSONValue::List{HUGE_VAL}), JSONValue("\xFF"),
                                 JSONValue(JSONValue::Object{{"\xC3", 1}}), deep}) {
    EXPECT_TRUE(std::holds_alternative<JSONError>(json.write(value)));
  }
}

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
