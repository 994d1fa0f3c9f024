#include <outils_socle/texte/ChaineN.h>

#include <gtest/gtest.h>

#include <climits>
#include <cmath>

#include "commun/Exceptions.h"

namespace sdd {
namespace {

using C = ChaineN;

TEST(ChaineNNombres, DepuisNombreEntiers) {
  EXPECT_EQ(Utf8(C::DepuisNombre(255, 16, 4, true, false)), "00FF");
  EXPECT_EQ(Utf8(C::DepuisNombre(255, 16, 4, false, false)), "  FF");
  EXPECT_EQ(Utf8(C::DepuisNombre(255, 16, 4, false, true)), "FF  ");
  EXPECT_EQ(Utf8(C::DepuisNombre(255, 16, 1, true, false)), "FF");  // never cut
  EXPECT_EQ(Utf8(C::DepuisNombre(5, 2)), "101");
  EXPECT_EQ(Utf8(C::DepuisNombre(0)), "0");
  EXPECT_EQ(Utf8(C::DepuisNombre(-42, 10, 5, true)), "-0042");
  EXPECT_EQ(Utf8(C::DepuisNombre(-42, 10, 5)), "  -42");
  EXPECT_EQ(Utf8(C::DepuisNombre(INT_MIN)), "-2147483648");
  EXPECT_EQ(Utf8(C::DepuisNombre(4294967295u, 16)), "FFFFFFFF");
  EXPECT_EQ(Utf8(C::DepuisNombre(INT64_MIN)), "-9223372036854775808");
  EXPECT_EQ(Utf8(C::DepuisNombre(UINT64_MAX, 2)), std::string(64, '1'));
  EXPECT_HORS_BORNE(C::DepuisNombre(255, 17), "index=17 min=2 max=16");
  EXPECT_HORS_BORNE(C::DepuisNombre(255, 1), "index=1 min=2 max=16");
}

TEST(ChaineNNombres, DepuisNombreReel) {
  EXPECT_EQ(Utf8(C::DepuisNombre(0.1)), "0.1");
  EXPECT_EQ(Utf8(C::DepuisNombre(-2.5)), "-2.5");
  EXPECT_EQ(Utf8(C::DepuisNombre(1e300)), "1e+300");
  EXPECT_EQ(Utf8(C::DepuisNombre(2.5, 2)), "10.1");
  EXPECT_EQ(Utf8(C::DepuisNombre(255.75, 16, 8, true)), "0000FF.C");
  EXPECT_EQ(C::DepuisNombre(0.1).DonneDouble(), 0.1);  // shortest text reads back exactly
  EXPECT_HORS_BORNE(C::DepuisNombre(1.0, 20), "index=20 min=2 max=16");
}

TEST(ChaineNNombres, DonneEntierCommeAtoi) {
  EXPECT_EQ(ChaineN("  -123abc").DonneEntier(), -123);
  EXPECT_EQ(ChaineN("+7").DonneEntier(), 7);
  EXPECT_EQ(ChaineN("abc").DonneEntier(), 0);
  EXPECT_EQ(ChaineN("").DonneEntier(), 0);
  EXPECT_EQ(ChaineN("99999999999").DonneEntier(), INT_MAX);
  EXPECT_EQ(ChaineN("-99999999999").DonneEntier(), INT_MIN);
  EXPECT_EQ(ChaineN("-2147483648").DonneEntier(), INT_MIN);
}

TEST(ChaineNNombres, DonneEntierHexSansControleDeDepassement) {
  EXPECT_EQ(ChaineN("ff").DonneEntierHex(), 255u);
  EXPECT_EQ(ChaineN("1aG2").DonneEntierHex(), 26u);
  EXPECT_EQ(ChaineN("x1").DonneEntierHex(), 0u);
  EXPECT_EQ(ChaineN("").DonneEntierHex(), 0u);
  EXPECT_EQ(ChaineN("123456789").DonneEntierHex(), 0x23456789u);
}

TEST(ChaineNNombres, DonneDouble) {
  EXPECT_EQ(ChaineN(" 1.5e3x").DonneDouble(), 1500.0);
  EXPECT_EQ(ChaineN("-0.25").DonneDouble(), -0.25);
  EXPECT_EQ(ChaineN("0x10").DonneDouble(), 16.0);
  EXPECT_EQ(ChaineN("abc").DonneDouble(), 0.0);
  EXPECT_EQ(ChaineN("--1").DonneDouble(), 0.0);
  EXPECT_TRUE(std::isinf(ChaineN("inf").DonneDouble()));
}

}  // namespace
}  // namespace sdd
