#!/usr/bin/env python3
"""The rule of exported_symbols.py accepts what is ours and notices a library that exports something else.

    exported_symbols_test.py COMPILER
"""
import os
import subprocess
import sys
import tempfile
import unittest

import exported_symbols

COMPILER = None

SOURCE = """
#include <map>
#include <ostream>
#include <vector>
#define API __attribute__((visibility("default")))
struct API NYX_BASE { virtual ~NYX_BASE(); virtual int get() const; };
struct API NYX_OTHER { virtual ~NYX_OTHER(); virtual void other(); };
struct API NYX_BOTH : NYX_BASE, NYX_OTHER { ~NYX_BOTH(); int get() const override; void other() override; };
NYX_BASE::~NYX_BASE() = default; int NYX_BASE::get() const { return 1; }
NYX_OTHER::~NYX_OTHER() = default; void NYX_OTHER::other() {}
NYX_BOTH::~NYX_BOTH() = default; int NYX_BOTH::get() const { return 2; } void NYX_BOTH::other() {}
template <class T> struct API NYX_BOX { static const T EMPTY; template <class U> U as() const & { return U(); } };
template <class T> const T NYX_BOX<T>::EMPTY{};
template struct NYX_BOX<int>; template API long NYX_BOX<int>::as<long>() const &;
namespace NYX_REPORT { namespace detail { API void fail() {} } API int &counter() { static int value = 0; return value; } }
namespace NYX { struct API algorithm { virtual ~algorithm(); }; algorithm::~algorithm() = default; }
API std::ostream &operator<<(std::ostream &out, const NYX_BASE &) { return out; }
API bool operator==(const NYX_BASE &, int) { return true; }
API void nyx_raise(const std::vector<NYX_BASE *> &) {}
extern "C" API int nyx_version() { return 1; }
extern "C" { API int NYX_TABLE[2] = {}; }
"""


class ExportedSymbols(unittest.TestCase):
    def foreign(self, source):
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "library.cpp")
            with open(path, "w", encoding="utf-8") as file:
                file.write(source)
            library = os.path.join(folder, "library.so")
            # The flags under which a library exports what is marked, and what the standard library marks.
            subprocess.run([COMPILER, "-std=c++20", "-fPIC", "-shared", "-fvisibility=hidden",
                            "-fvisibility-inlines-hidden", path, "-o", library], check=True)
            self.assertGreater(len(exported_symbols.defined_symbols(library)), 0)
            return exported_symbols.foreign_symbols(library)

    def test_classes_templates_namespaces_functions_and_data_of_ours_are_accepted(self):
        self.assertEqual(self.foreign(SOURCE), [])

    def test_a_function_of_another_name_is_noticed(self):
        self.assertEqual(self.foreign(SOURCE + "API void helper(NYX_BASE &) {}"), ["helper(NYX_BASE&)"])

    def test_c_functions_and_data_of_another_name_are_noticed(self):
        self.assertEqual(self.foreign(SOURCE + 'extern "C" API int helper() { return 1; } API int s_count = 0;'),
                         ["helper", "s_count"])

    def test_a_namespace_of_another_name_is_noticed(self):
        self.assertEqual(self.foreign(SOURCE + "namespace boost { API void NYX_HOOK() {} }"), ["boost::NYX_HOOK()"])

    def test_an_operator_on_types_of_others_is_noticed(self):
        self.assertEqual(self.foreign(SOURCE + "API std::ostream &operator<<(std::ostream &out, const std::vector<NYX_BASE *> &)"
                                               " { return out; }"),
                         ["operator<<(std::basic_ostream<char, std::char_traits<char> >&,"
                          " std::vector<NYX_BASE*, std::allocator<NYX_BASE*> > const&)"])

    def test_an_instantiation_of_the_standard_library_is_noticed(self):
        foreign = self.foreign(SOURCE + "API void nyx_fill(std::map<int, NYX_BASE *> &all) { all[1] = nullptr; }")
        self.assertTrue(any("std::_Rb_tree<int, std::pair<int const, NYX_BASE*>" in symbol for symbol in foreign), foreign)

    def test_tables_and_type_information_of_another_class_are_noticed(self):
        foreign = self.foreign(SOURCE + "struct API OTHER { virtual ~OTHER(); }; OTHER::~OTHER() = default;")
        self.assertLessEqual({"typeinfo for OTHER", "typeinfo name for OTHER", "vtable for OTHER"}, set(foreign))


if __name__ == "__main__":
    COMPILER = sys.argv.pop(1)
    unittest.main()
