// A decoder plug-in that misbehaves in the way that QBT2_TEST_MISBEHAVIOUR names.
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "interfaces/decoder_unit_if.h"

namespace {

using Kz::Dvt::Trace::CDecoderUnitIF;

bool misbehaves(std::string_view how) {
  const char* const word = std::getenv("QBT2_TEST_MISBEHAVIOUR");
  return word != nullptr && how == word;
}

void misbehave_at(std::string_view place) {
  const auto is = [&](std::string_view what) {
    return misbehaves(std::string(place).append(" ").append(what));
  };
  if (is("throws")) throw 42;
  if (is("exits")) std::exit(0);
}

/// No columns, and a sample never gives a row.
class Unit : public CDecoderUnitIF {
 public:
  void SetDeviceConfigManager(Kz::Dvt::Trace::CDeviceConfigManager*) override {}
  void SetDeviceIdentifier(Kz::Dvt::Trace::CDeviceIdentifier*) override {}
  void GetFunctionInformation(Kz::Dvt::Trace::eFunctionType&) const override {}
  void GetMasterIds(std::vector<std::uint32_t>&) const override {}
  void SetMasterIds(const std::vector<std::uint32_t>&) override {}
  void GetInfo(const std::string&, Kz::Dvt::Trace::ConfigPropertyValue&) const override {}
  void InitColumn(std::vector<SharedColumns>&, std::uint32_t, std::uint32_t& count) override {
    misbehave_at("InitColumn");
    count = 0;
  }
  void GetColumnInfo(std::uint32_t, Kz::Dvt::Trace::eInput&, std::uint32_t&, bool&, std::string&,
                     std::string&, std::string&) const override {}
  void AddColumn(std::uint32_t, bool) override {}
  void ProcessSamples(std::uint32_t, std::uint8_t*, std::uint32_t, std::uint8_t* output,
                      std::uint32_t& produced) override {
    misbehave_at("ProcessSamples");
    output[0] = 0xFD;
    produced = 1;
  }
  void DataReset() override {}
};

Unit unit;

template <typename Function>
Function* real_entry(const char* name) {
  return reinterpret_cast<Function*>(::dlsym(::dlopen(QBT2_PLUGIN_PATH, RTLD_NOW), name));
}

}  // namespace

extern "C" [[gnu::visibility("default")]] void* CreateDecoderUnit() {
  misbehave_at("CreateDecoderUnit");
  if (!misbehaves("prints")) return static_cast<CDecoderUnitIF*>(&unit);
  std::puts("a plug-in's own words");
  std::fflush(stdout);
  return real_entry<void*()>("CreateDecoderUnit")();
}

extern "C" [[gnu::visibility("default")]] void DestroyDecoderUnit(void* given) {
  if (misbehaves("prints")) real_entry<void(void*)>("DestroyDecoderUnit")(given);
}
