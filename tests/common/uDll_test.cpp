#include "common/source/source_utilities/uDll.h"

#include <dlfcn.h>
#include <gmock/gmock.h>

#include "tests/support/test_folder.h"

using KZ_DVT::uDll;
using testing::HasSubstr;

namespace {

constexpr const char* kMathLibrary = "libm.so.6";

std::string FileOfMathLibrary(uDll& library) {
  Dl_info info = {};
  EXPECT_NE(dladdr(library.GetSymbol("cbrt"), &info), 0);
  return info.dli_fname;
}

}  // namespace

TEST(UDll, FindsALibraryByItsName) {
  const qbt2::test::TestFolder folder;
  uDll given;
  ASSERT_TRUE(given.FindAndLoad(kMathLibrary)) << given.GetError();
  const auto round_down = given.GetFunction<double (*)(double)>("floor");
  ASSERT_NE(round_down, nullptr);
  EXPECT_EQ(round_down(2.5), 2.0);

  const std::string file = FileOfMathLibrary(given);
  std::filesystem::create_symlink(file, folder.at("libwithprefix.so"));
  std::filesystem::create_symlink(file, folder.at("plain.so"));
  for (const char* name : {"withprefix", "plain", "plain.so"}) {
    uDll found;
    EXPECT_TRUE(found.FindAndLoad(folder.at(name).c_str())) << found.GetError();
    EXPECT_NE(found.GetSymbol("cbrt"), nullptr) << name;
    EXPECT_EQ(found.GetError(), "");
  }
}

TEST(UDll, FailuresKeepTheLoadersMessage) {
  uDll library;
  EXPECT_FALSE(library.FindAndLoad("Qbt2NoSuchLibrary", -1));
  EXPECT_FALSE(library.IsLoaded());
  for (const char* tried :
       {"Qbt2NoSuchLibrary: ", "; libQbt2NoSuchLibrary.so: ", "; Qbt2NoSuchLibrary.so: "}) {
    EXPECT_THAT(library.GetError(), HasSubstr(tried));
  }
  EXPECT_EQ(library.GetSymbol("x"), nullptr);
  EXPECT_EQ(library.GetError(), "no library is loaded");

  ASSERT_TRUE(library.Load(kMathLibrary));
  EXPECT_EQ(library.GetSymbol("qbt2_no_such_symbol"), nullptr);
  EXPECT_THAT(library.GetError(), HasSubstr("qbt2_no_such_symbol"));
  EXPECT_EQ(library.GetSymbol(nullptr), nullptr);

  for (const char* name : {static_cast<const char*>(nullptr), ""}) {
    EXPECT_FALSE(library.FindAndLoad(name)) << "never the program itself";
    EXPECT_EQ(library.GetError(), "no library name given");
  }
}

TEST(UDll, UnloadsUnlessReleased) {
  const qbt2::test::TestFolder folder;
  const std::string copy = folder.at("libcopy.so");
  std::string file;
  {
    uDll library(kMathLibrary);
    ASSERT_TRUE(library.IsLoaded());
    file = FileOfMathLibrary(library);
  }
  std::filesystem::copy_file(file, copy);
  const auto is_loaded = [&] {
    void* handle = dlopen(copy.c_str(), RTLD_NOW | RTLD_NOLOAD);
    return handle != nullptr && dlclose(handle) == 0;
  };
  {
    const uDll library(copy.c_str());
    EXPECT_TRUE(library.IsLoaded());
    EXPECT_TRUE(is_loaded());
  }
  EXPECT_FALSE(is_loaded());
  void* handle = nullptr;
  {
    uDll library(copy.c_str());
    handle = library.Release();
    EXPECT_FALSE(library.IsLoaded());
  }
  EXPECT_TRUE(is_loaded());
  EXPECT_EQ(dlclose(handle), 0);
}
