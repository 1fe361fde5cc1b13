# The rules behind scripts/checks/includes. Reads C++ files named relative to the root of the project, prints
# "file:line: rule" for each line that breaks one, and ends with 1 if there was any.
#
# A place is an area ("hostkit") or, where an area has rooms, area and room ("quendokit/store", "adapters/sqlite").

BEGIN {
    # What each room of the engine may include, itself apart.
    engine["platform"] = ""
    engine["model"] = "platform"
    engine["options"] = "model platform"
    engine["presets"] = "model options platform"
    engine["store"] = "model platform"
    engine["sync"] = "model platform store"

    # What each area may include, itself apart.
    below["adapters"] = "quendokit"
    below["hostkit"] = "quendokit"
    below["apps"] = "quendokit adapters hostkit"
    below["testing"] = "quendokit hostkit"
    below["examples"] = "quendokit adapters hostkit testing"
    below["docs"] = "quendokit adapters hostkit testing"
    below["bench"] = "quendokit adapters hostkit apps testing tests"
    below["fuzz"] = "quendokit adapters hostkit apps testing tests"
    below["tests"] = "quendokit adapters hostkit apps testing"

    # The doors in the walls of the engine and of an adapter, and the one file that may cross from store to sync.
    door = "quendokit/store/reminder_controller_internal.hpp"
    databaseDoor = "adapters/sqlite/connection_internal.hpp"
    crossing = "quendokit/store/reminder_controller.cpp"
    crossed = "quendokit/sync/reminder_sync_manager.hpp"

    standard = " algorithm any array atomic barrier bit bitset charconv chrono codecvt compare complex concepts" \
        " condition_variable coroutine deque exception execution filesystem forward_list fstream functional future" \
        " initializer_list iomanip ios iosfwd iostream istream iterator latch limits list locale map memory" \
        " memory_resource mutex new numbers numeric optional ostream queue random ranges ratio regex" \
        " scoped_allocator semaphore set shared_mutex source_location span sstream stack stdexcept stop_token" \
        " streambuf string string_view strstream syncstream system_error thread tuple type_traits typeindex" \
        " typeinfo unordered_map unordered_set utility valarray variant vector version" \
        " cassert cctype cerrno cfenv cfloat cinttypes climits clocale cmath csetjmp csignal cstdarg cstddef" \
        " cstdint cstdio cstdlib cstring ctime cuchar cwchar cwctype "

    operatingSystem = "^(_*linux_*|__gnu_linux__|_*unix_*|__APPLE__|__MACH__|TARGET_OS_.*|_*WIN(32|64)_*|_MSC_VER" \
        "|_*MINGW(32|64)__|__CYGWIN__|__ANDROID__|__(Free|Net|Open)BSD__|__DragonFly__|__HAIKU__|__sun|__EMSCRIPTEN__)$"
}

function report(rule) { complain(FILENAME, FNR, rule) }
function complain(file, line, rule) {
    print file ":" line ": " rule
    broken = 1
}

function has(words, word) { return index(" " words " ", " " word " ") > 0 }
function isInternal(path) { return path ~ /_internal\.hpp$/ }
function folderOf(path) {
    sub(/\/[^\/]*$/, "", path)
    return path
}

FNR == 1 {
    finishFile()
    split(FILENAME, parts, "/")
    area = parts[1]
    room = parts[2]
    isHeader = FILENAME ~ /\.hpp$/
    saysOnce = 0
    continued = 0
    current = FILENAME
    if (area != "quendokit" && !(area in below)) {
        report("no rule knows the folder " area "/")
    } else if (area == "quendokit" && !(room in engine)) {
        report("no rule knows the room quendokit/" room)
    }
    if (FILENAME !~ /\.[ch]pp$/) {
        report("sources end in .cpp, headers in .hpp")
    }
}

{ sub(/\r$/, "") }

/^[ \t]*#[ \t]*pragma[ \t]+once/ { saysOnce = 1 }

isHeader && /using[ \t]+namespace/ {
    code = $0
    sub(/\/\/.*/, "", code)
    if (code ~ /(^|[^A-Za-z0-9_])using[ \t]+namespace[ \t]/) {
        report("no `using namespace` in a header")
    }
}

# A condition may go on in the next line.
/^[ \t]*#[ \t]*(el)?if/ || continued {
    if (area != "adapters") {
        condition = $0
        sub(/\/\/.*/, "", condition)
        gsub(/[^A-Za-z0-9_]+/, " ", condition)
        count = split(condition, words, " ")
        for (i = 1; i <= count; i++) {
            if (words[i] ~ operatingSystem) {
                report("no condition on an operating system (" words[i] ") outside adapters/")
            }
        }
    }
    continued = /\\$/
}

/^[ \t]*#[ \t]*include/ {
    path = $0
    sub(/^[ \t]*#[ \t]*include(_next)?[ \t]*/, "", path)
    if (path ~ /^"[^"]+"/) {
        split(path, quoted, "\"")
        checkOwn(quoted[2])
    } else if (path ~ /^<[^>]+>/) {
        sub(/^</, "", path)
        sub(/>.*/, "", path)
        checkForeign(path)
    } else {
        report("an include names its header")
    }
}

function checkForeign(path,    first) {
    first = path
    sub(/\/.*/, "", first)
    if (path ~ /\// && (first == "quendokit" || first in below)) {
        report("<" path ">: our own headers are included with quotes")
    } else if (area == "quendokit" && index(standard, " " path " ") == 0) {
        report("<" path ">: the engine includes the standard library only")
    }
}

function checkOwn(path,    target, targetArea, targetRoom) {
    split(path, target, "/")
    targetArea = target[1]
    targetRoom = target[2]
    if (path !~ /\// || path ~ /(^|\/)\.\.?(\/|$)/ || (targetArea != "quendokit" && !(targetArea in below))) {
        report("\"" path "\": our own headers are included from the root, others with <>")
        return
    }
    if (area == "quendokit") {
        if (targetArea != "quendokit") {
            report("\"" path "\": the engine knows nothing outside quendokit/")
        } else if (targetRoom != room && !(room in engine && has(engine[room], targetRoom)) &&
                   !(FILENAME == crossing && path == crossed)) {
            report("\"" path "\": " room "/ may not include " targetRoom "/")
        }
    } else if (targetArea == area) {
        if (area == "adapters" && targetRoom != room && room != "linux") {
            report("\"" path "\": an adapter knows no other adapter; only adapters/linux/ puts them together")
        }
    } else if (area in below && !has(below[area], targetArea)) {
        report("\"" path "\": " area "/ may not include " targetArea "/")
    }
    if (isInternal(path)) {
        noteInternal(path)
    }
}

# Internal headers are judged at the end, when it is known what the door opens.
function noteInternal(path) {
    internals++
    internalFrom[internals] = FILENAME
    internalLine[internals] = FNR
    internalPath[internals] = path
    internalArea[internals] = area
}

function checkInternals(    i, grown) {
    open[door] = 1
    open[databaseDoor] = 1
    do {
        grown = 0
        for (i = 1; i <= internals; i++) {
            if (internalFrom[i] in open && !(internalPath[i] in open)) {
                open[internalPath[i]] = 1
                grown = 1
            }
        }
    } while (grown)
    for (i = 1; i <= internals; i++) {
        if (folderOf(internalFrom[i]) == folderOf(internalPath[i]) || has("tests bench fuzz", internalArea[i])) {
            continue
        }
        # Inside the engine the arrows between its rooms decide.
        if (internalArea[i] == "quendokit" && internalPath[i] ~ /^quendokit\//) {
            continue
        }
        if (internalPath[i] in open && has("hostkit apps", internalArea[i])) {
            continue
        }
        complain(internalFrom[i], internalLine[i], "\"" internalPath[i] "\": an internal header stays in its folder")
    }
}

function finishFile() {
    if (current != "" && isHeader && !saysOnce) {
        complain(current, 1, "a header begins with `#pragma once`")
    }
}

END {
    finishFile()
    checkInternals()
    exit broken
}
