# SPDX-License-Identifier: Apache-2.0
# What needs no docstring of its own, for Doxygen, line by line: a setter sets what its getter tells, and of
# destructors and of what is defaulted or deleted there is nothing to say. What a contract's cases share is its own.
before !~ /\/\/\// {
  sub(/^ *void set[A-Z][A-Za-z_]*\(/, "/** Sets it; see the getter. */ &")
  if (/^ *(virtual )?~/ || / = (default|delete);$/) $0 = ""
}
FILENAME ~ /contracts/ { sub(/^ protected:$/, " private:") }
{ before = $0; print }
