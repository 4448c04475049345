// SPDX-License-Identifier: MIT
#pragma once

#include <fmt/format.h>

#include <string>

/// A description made to hurt a parser: `first` and `second` are repeated, with {0} and {1} for the number of
/// the repetition and the next one; in `tail` {0} is the count.
struct HostileDescription {
  const char* name;
  std::size_t nodes;  ///< how many are read from 100,000 repetitions; 0 when the text is refused
  const char* head;
  const char* first;
  const char* middle = "";
  const char* second = "";
  const char* tail = "</RegisterDescription>";

  std::string text(int count) const {
    std::string whole = head;
    for (int i = 0; i < count; ++i) whole += fmt::format(fmt::runtime(first), i, i + 1);
    whole += middle;
    for (int i = 0; i < count; ++i) whole += fmt::format(fmt::runtime(second), i, i + 1);
    return whole + fmt::format(fmt::runtime(tail), count);
  }
};

#define OPEN "<RegisterDescription>"
#define CLOSE "</RegisterDescription>"
#define ROOT(feature) OPEN "<Category Name='Root'><pFeature>" feature "</pFeature></Category>"
inline constexpr HostileDescription hostileDescriptions[] = {
    {"nesting", 1, OPEN "<Float Name='F'/>", "<Group>", "", "</Group>"},
    {"nested_nodes", 100'000, OPEN, "<IntReg Name='N{0}'>", "", "</IntReg>"},
    {"pvalue_chain", 2, ROOT("N0"), "<Integer Name='N{0}'><pValue>N{1}</pValue></Integer>", "", "",
     "<Integer Name='N{0}'/>" CLOSE},
    {"pvalue_circle", 1, ROOT("N0"), "<Integer Name='N{0}'><pValue>N{1}</pValue></Integer>", "", "",
     "<Integer Name='N{0}'><pValue>N0</pValue></Integer>" CLOSE},
    {"all_in_circles", 1, OPEN "<Float Name='F'/>",
     "<Integer Name='N{0}'><pValue>N{1}</pValue><pIsAvailable>N{1}</pIsAvailable></Integer>", "", "",
     "<Integer Name='N{0}'><pValue>N0</pValue></Integer>" CLOSE},
    {"condition_chain", 100'000, OPEN, "<Integer Name='N{0}'><pIsAvailable>N{1}</pIsAvailable></Integer>"},
    {"category_chain", 100'001, ROOT("N0"),
     "<Category Name='N{0}'><pFeature>N{1}</pFeature><pFeature>Root</pFeature></Category>"},
    {"entries", 2, ROOT("E") "<Enumeration Name='E'>",
     "<EnumEntry Name='E{0}'><Value>{0}</Value></EnumEntry>", "", "", "</Enumeration>" CLOSE},
    {"struct_entries", 100'000, OPEN "<StructReg><Length>4</Length>",
     "<StructEntry Name='E{0}'><Bit>1</Bit></StructEntry>", "", "", "</StructReg>" CLOSE},
    {"struct_entries_of_a_long_text", 100'000, OPEN "<StructReg><AccessMode>", "          ",
     "RW</AccessMode>", "<StructEntry Name='E{0}'><Bit>1</Bit></StructEntry>", "</StructReg>" CLOSE},
    {"links_to_a_long_text", 100'001, OPEN "<Integer Name='T'><ImposedAccessMode>", "          ",
     "RO</ImposedAccessMode></Integer>", "<Integer Name='N{0}'><pValue>T</pValue></Integer>"},
    {"indexed_values", 2, ROOT("I") "<IntReg Name='R'/><Integer Name='I'><pIndex>R</pIndex>",
     "<pValueIndexed Index='{0}'>R</pValueIndexed>", "", "", "</Integer>" CLOSE},
    {"index_circle", 100'002,
     OPEN "<Integer Name='N'><pIndex>P0</pIndex><pValueIndexed Index='0'>P0</pValueIndexed></Integer>",
     "<Integer Name='P{0}'><pValue>P{1}</pValue></Integer>", "", "",
     "<Integer Name='P{0}'><pValue>N</pValue></Integer>" CLOSE},
    {"one_name", 1, OPEN "<Float Name='N'/>", "<Float Name='N'><pValue>N</pValue></Float>"},
    {"shared_unit", 100'001, OPEN "<Float Name='T'><Unit>", "uuuuuuuuuuuuuuuuuuuu", "</Unit></Float>",
     "<Integer Name='N{0}'><pValue>T</pValue></Integer>"},
    {"long_number", 2, ROOT("N") "<Integer Name='N'><Max>", "99999", "</Max><Min>", "0.000",
     "</Min></Integer>" CLOSE},
    {"attributes", 1, OPEN "<Integer Name='N' ", "a{0}='&lt;' ", "", "", "/>" CLOSE},
    {"comments", 2, ROOT("S") "<String Name='S'><Value>", "a<!-- -->", "", "", "</Value></String>" CLOSE},
    {"entity_bomb", 1, "<!DOCTYPE x [<!ENTITY a0 'ha'>", "<!ENTITY a{1} '&a{0};&a{0};'>", "]>", "",
     OPEN "<String Name='S'><Value>&a{0};</Value></String>" CLOSE},
    {"deep_formula", 1, OPEN "<IntSwissKnife Name='K'><Formula>", "(", "1", ")",
     "</Formula></IntSwissKnife>" CLOSE},
    {"many_signs", 1, OPEN "<SwissKnife Name='K'><Formula>", "-", "", "", "1</Formula></SwissKnife>" CLOSE},
    {"many_terms", 1, OPEN "<IntSwissKnife Name='K'><Formula>1", "+1*2", "", "",
     "</Formula></IntSwissKnife>" CLOSE},
    {"many_branches", 1, OPEN "<IntSwissKnife Name='K'><Formula>", "0?1:", "1", "",
     "</Formula></IntSwissKnife>" CLOSE},
    {"digits_of_a_formula", 1, OPEN "<SwissKnife Name='K'><Formula>1", "000000000000", ".", "0",
     "</Formula></SwissKnife>" CLOSE},
    {"variable_circle", 100'001, OPEN,
     "<IntSwissKnife Name='K{0}'><pVariable Name='A'>K{1}</pVariable><Formula>A</Formula></IntSwissKnife>",
     "", "",
     "<IntSwissKnife Name='K{0}'><pVariable "
     "Name='A'>K0</pVariable><Formula>A</Formula></IntSwissKnife>" CLOSE},
    {"knife_of_many_variables", 2,
     OPEN "<Integer Name='N'><Value>1</Value></Integer><IntSwissKnife Name='K'>",
     "<pVariable Name='V{0}'>N</pVariable>", "<Formula>0", "+V{0}", "</Formula></IntSwissKnife>" CLOSE},
    {"expression_chain", 1, OPEN "<IntSwissKnife Name='K'>", "<Expression Name='E{0}'>E{1}+E{1}</Expression>",
     "", "", "<Formula>E0</Formula></IntSwissKnife>" CLOSE},
    {"converter_chain", 100'001, OPEN,
     "<Converter Name='C{0}'><FormulaFrom>TO+1</FormulaFrom><pValue>C{1}</pValue></Converter>", "", "",
     "<IntReg Name='C{0}'><Length>1</Length></IntReg>" CLOSE},
    {"smallest_elements", 1, OPEN "<Float Name='F'/>", "<a/>"},
    {"unclosed", 0, OPEN, "<Group>", "", "", ""},
    {"no_markup", 0, "", "< < 1 ", "", "", ""},
};
#undef OPEN
#undef CLOSE
#undef ROOT
