#pragma once

// The one generator of hostile strings that every writer/reader pair of the library meets:
// lone and paired surrogates, CR/LF/CRLF mixes, tab, every C0 control and U+0000, U+FFFE,
// U+FFFF and their kin, characters beyond the BMP, combining marks, blanks at either end, markup
// look-alikes, very long runs, and random mixes of all of these (fixed seed). As UTF-16 units,
// so that what UTF-8 cannot hold (a lone surrogate) is there too.

#include <cstdint>
#include <cstdio>
#include <iterator>
#include <random>
#include <string>
#include <vector>

namespace essais {

inline std::vector<std::u16string> ChainesHostiles() {
  std::vector<std::u16string> c = {
      u"",
      u"a",
      u"\r",
      u"\n",
      u"\r\n",
      u"a\r\nb\rc\nd\n\re",
      u"\t",
      u"\ta b\t",
      u" ",
      u"  début",
      u"fin  ",
      u"\u00A0espace insécable\u00A0",
      u"]]>",
      u"<a href=\"x\">&amp;'</a>",
      u"%(x)s ; # [section] = :",
      u"\\u00e9 \\ /",
      u"\uFEFFmarque",
      u"\uFFFD",
      u"a\uFFFEb",
      u"\uFFFF",
      u"\U0001D11E",
      u"\U0010FFFF\U00010000",
      u"e\u0301\u0327",  // combining marks
      u"\u0301",
      u"œuvre « été » — ǅ",
      u"\u2028\u2029\u0085",
      std::u16string(1, u'\0'),
      std::u16string(u"a\0b", 3),
      std::u16string(u"\0\0", 2),
      std::u16string(1, char16_t{0xD800}),                 // a lone high surrogate
      std::u16string(1, char16_t{0xDC00}),                 // a lone low surrogate
      std::u16string{u'a', char16_t{0xD83D}},              // a high surrogate last
      std::u16string{char16_t{0xDE00}, u'a'},              // a low surrogate first
      std::u16string{char16_t{0xDE00}, char16_t{0xD83D}},  // a pair the wrong way round
      std::u16string{char16_t{0xD83D}, char16_t{0xD83D}, char16_t{0xDE00}},
      std::u16string{char16_t{0xD83D}, u'é'},
  };
  for (char16_t u = 1; u < 0x20; ++u) {
    c.push_back(std::u16string(1, u));
    c.push_back(u"x" + std::u16string(1, u) + u"y");
  }
  c.push_back(u"\x7F\x80\x9F");
  // Long runs: one character many times, and a long mix of line ends and accents.
  c.push_back(std::u16string(70000, u'é'));
  std::u16string melange;
  for (int i = 0; i < 20000; ++i) melange += i % 7 == 0 ? u"\r\n" : i % 5 == 0 ? u"\U0001F600" : u"à";
  c.push_back(melange);
  // Random mixes of all the above's units, fixed seed.
  const char16_t kPool[] = {u'a',   u'Z',   u'é',   u'œ',   u'€',   u'\r',  u'\n',  u'\t',  u' ',
                            u'<',   u'&',   u'"',   u'\'',  u']',   u'>',   u'\0',  0x01,   0x1F,
                            0x7F,   0x85,   0xA0,   0x301,  0x2028, 0xFEFF, 0xFFFD, 0xFFFE, 0xFFFF,
                            0xD800, 0xDBFF, 0xDC00, 0xDFFF, 0xD83D, 0xDE00};
  std::mt19937 alea(20261125);
  for (int i = 0; i < 200; ++i) {
    std::u16string s(alea() % 24, u' ');
    for (char16_t& u : s) u = kPool[alea() % std::size(kPool)];
    c.push_back(std::move(s));
  }
  return c;
}

// What the string holds, for the checks' own rules.
inline bool ContientNul(const std::u16string& s) { return s.find(u'\0') != std::u16string::npos; }

// Whether a unit is a surrogate without its other half.
inline bool ASubstitutIsole(const std::u16string& s) {
  for (std::size_t i = 0; i < s.size(); ++i) {
    const char16_t u = s[i];
    if (u >= 0xD800 && u < 0xDC00 && i + 1 < s.size() && s[i + 1] >= 0xDC00 && s[i + 1] < 0xE000) {
      ++i;
    } else if (u >= 0xD800 && u < 0xE000) {
      return true;
    }
  }
  return false;
}

// A short printable form for failure messages: the units in hex.
inline std::string EnHexa(const std::u16string& s) {
  std::string h;
  char tampon[8];
  for (std::size_t i = 0; i < s.size() && i < 40; ++i) {
    std::snprintf(tampon, sizeof tampon, "%04X ", static_cast<unsigned>(s[i]));
    h += tampon;
  }
  if (s.size() > 40) h += "… (" + std::to_string(s.size()) + " units)";
  return h;
}

}  // namespace essais
