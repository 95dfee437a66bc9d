# examples.awk - gathers the C++ blocks of the pages as one source.
# usage: awk -f examples.awk PAGE.md...
#
# A block that begins with a declaration (class, struct, static, long, #include) stands in the page's namespace; any
# other is the body of a function, which docs_examples.cpp calls. Compilers name the page and its line.
function at(line) { printf "#line %d \"%s\"\n", line, FILENAME }
FNR == 1 {
    if (page) print "}"
    page = FILENAME
    sub(/.*\//, "", page)
    name = page
    sub(/\.md$/, "", name)
    gsub(/[^a-z0-9]/, "_", name)
    print "namespace page_" name "\n{"
}
/^```cpp$/ { inside = 1; first = FNR + 1; next }
/^```$/ && inside {
    if (isBody) {
        print "}"
        calls = calls sprintf("    {\"%s:%d\", page_%s::example%d},\n", page, first, name, first)
    }
    inside = isBody = 0
    next
}
inside && FNR == first {
    isBody = $0 !~ /^(class|struct|static|long|#include) /
    if (isBody) print "static void example" first "()\n{"
    at(FNR)
}
inside { print }
END { printf "}\nstatic const Example kExamples[] = {\n%s};\n", calls }
