// The catalogue's promises: names, sharing of kernels, costs.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <map>
#include <set>
#include <string>

#include "qlx/qvm.h"

namespace {

struct Row {
  std::string sharing;
  double cost[3];
};

std::map<std::string, Row> rows() {
  std::map<std::string, Row> table;
#define QLX_FUNCTION(Name, equation)
#define QLX_FN(t, Name, Shape, Sharing, la, ha, ep) table[#t #Name] = {#Sharing, {la, ha, ep}};
#include "frame/catalogue.def"
#undef QLX_FUNCTION
#undef QLX_FN
  return table;
}

// Names of functions by sharing, the complete pattern; every other name of the library has three kernels.
std::set<std::string> words(const char* list) {
  std::set<std::string> set;
  std::string word;
  for (const char* p = list;; ++p) {
    if (*p == ' ' || *p == '\0') {
      set.insert(word);
      word.clear();
      if (*p == '\0') return set;
    } else {
      word += *p;
    }
  }
}
const std::map<std::string, std::set<std::string>> kSharing = {
    {"ALL",
     words("cAcos cAcosh cAsin cAsinh cAtan cAtanh cConj cCos cCosh cLog10 cPackI cPackM cPackV cPow cPowx cSin cSinh "
           "cTan cTanh cUnpackI cUnpackM cUnpackV dAbs dAdd dCeil dCopySign dDiv dErfc dExp10 dExp2 dFdim dFloor dFmax "
           "dFmin dFmod dFrac dInv dLGamma dLinearFrac dLogb dMaxMag dMinMag dModf dMul dNearbyInt dNextAfter dPackI "
           "dPackM dPackV dRemainder dRint dRound dSqr dSub dTGamma dTrunc dUnpackI dUnpackM dUnpackV sAbs sAdd sCeil "
           "sCopySign sDiv sExp10 sExp2 sFdim sFloor sFmax sFmin sFmod sFrac sInv sLGamma sLinearFrac sLogb sMaxMag "
           "sMinMag sModf sMul sNearbyInt sNextAfter sPackI sPackM sPackV sRemainder sRint sRound sSqr sSub sTGamma "
           "sTrunc sUnpackI sUnpackM sUnpackV zAcos zAcosh zAsin zAsinh zAtan zAtanh zConj zCos zCosh zLog10 zPackI "
           "zPackM zPackV zPow zPowx zSin zSinh zTan zTanh zUnpackI zUnpackM zUnpackV")},
    {"LAHA",
     words("cAdd cDiv cMul cMulByConj cSub dExpInt1 dSqrt sAcosh sExpInt1 sPow sPowr zAdd zDiv zMul zMulByConj zSub")},
    {"LAEP", words("cExp cSqrt dAcosh dSinh sInvSqrt sTan zExp zSqrt")},
};

const std::map<std::string, std::array<double, 3>> kGivenCosts = {
    {"sSqr", {0.36, 0.36, 0.36}},        {"sAdd", {0.468, 0.468, 0.468}},         {"sRint", {0.504, 0.504, 0.504}},
    {"sExp", {3.005, 3.083, 2.219}},     {"dExp", {6.918, 8.853, 5.951}},         {"sSin", {3.382, 5.488, 2.742}},
    {"dSin", {8.416, 15.258, 6.144}},    {"dTan", {9.921, 33.097, 9.066}},        {"dPow", {26.804, 28.14, 16.276}},
    {"dErfc", {21.994, 21.994, 21.994}}, {"dTGamma", {203.118, 203.118, 203.118}}};

struct Library {
  void* handle = dlopen(QLX_AVX_PATH, RTLD_NOW);
  void* find(const std::string& name) const { return dlsym(handle, name.c_str()); }
};

TEST(Catalogue, rows_share_kernels_and_costs_as_told) {
  for (const auto& [name, row] : rows()) {
    SCOPED_TRACE(name);
    std::string expected = "THREE";
    for (const auto& [sharing, names] : kSharing) {
      if (names.count(name)) expected = sharing;
    }
    EXPECT_EQ(row.sharing, expected);
    const auto [la, ha, ep] = row.cost;
    EXPECT_LE(ep, la);
    EXPECT_LE(la, ha);
    if (expected == "ALL") {
      EXPECT_EQ(ep, ha);
    }
    if (expected == "LAHA") {
      EXPECT_EQ(la, ha);
    }
    if (expected == "LAEP") {
      EXPECT_EQ(la, ep);
    }
    if (name.find("ack") != std::string::npos) {
      EXPECT_EQ(la, 1111.0);
    }
    const auto given = kGivenCosts.find(name);
    if (given == kGivenCosts.end()) continue;
    for (int k = 0; k < 3; ++k) EXPECT_FLOAT_EQ(static_cast<float>(row.cost[k]), static_cast<float>(given->second[k]));
  }
}

// Each row, in both forms, under all of its names; and the table that the names lead to.
TEST(Catalogue, every_row_is_exported_under_its_names) {
  const Library library;
  ASSERT_NE(library.handle, nullptr);
  std::set<std::string> listed;
  std::ifstream file(QLX_SOURCE_DIR "/src/exports.txt");
  for (std::string line; std::getline(file, line);) listed.insert(line);
  for (const auto& [function, row] : rows()) {
    const bool single = function[0] == 's' || function[0] == 'c';
    for (const std::string& name : {function, function + "I"}) {
      if (name != function && name.find("ack") != std::string::npos) continue;
      SCOPED_TRACE(name);
      const std::string table_name = "qlx_qvm_kernel_" + name + "_ttab", cost_name = "qlx_qvm_kernel_" + name + "_ctab";
      const auto* table = static_cast<void* const*>(library.find(table_name));
      const auto* costs = static_cast<const float*>(library.find(cost_name));
      ASSERT_NE(table, nullptr);
      ASSERT_NE(costs, nullptr);
      for (int k = 0; k < 3; ++k) {
        EXPECT_NE(table[k], nullptr);
        EXPECT_EQ(costs[k], static_cast<float>(row.cost[k]));
      }
      EXPECT_EQ(table[0] == table[1], row.sharing == "ALL" || row.sharing == "LAHA");
      EXPECT_EQ(table[0] == table[2], row.sharing == "ALL" || row.sharing == "LAEP");
      const std::string entry = "_qvm" + name;
      EXPECT_NE(library.find(entry), nullptr);
      EXPECT_EQ(library.find(entry), library.find(entry + "_HA"));
      std::vector<std::string> names = {table_name, cost_name, entry, entry + "_HA"};
      for (const char* suffix : {"_21", "_11", "_50", "_26"}) {
        const bool wanted = single == (std::string(suffix) == "_21" || std::string(suffix) == "_11");
        EXPECT_EQ(library.find(entry + suffix) != nullptr, wanted) << suffix;
        if (wanted) names.push_back(entry + suffix);
      }
      for (const std::string& exported : names) EXPECT_TRUE(listed.count(exported)) << exported;
    }
  }
}

TEST(Catalogue, generation_is_eight) {
  EXPECT_EQ(dll_cpu_version(), 8);
}

}  // namespace
