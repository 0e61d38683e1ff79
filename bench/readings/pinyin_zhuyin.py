"""Pinyin syllables to the report's reading forms, from the standard pinyin/zhuyin tables.

toneless("lüè") -> "lve"; zhuyin("lüè") -> "ㄌㄩㄝˋ"; zhuyin("de") -> "˙ㄉㄜ" (no mark is the light
tone). self_check() runs a table of known syllables and raises on the first wrong one.
"""

import unicodedata

INITIALS = [("zh", "ㄓ"), ("ch", "ㄔ"), ("sh", "ㄕ"), ("b", "ㄅ"), ("p", "ㄆ"), ("m", "ㄇ"),
            ("f", "ㄈ"), ("d", "ㄉ"), ("t", "ㄊ"), ("n", "ㄋ"), ("l", "ㄌ"), ("g", "ㄍ"),
            ("k", "ㄎ"), ("h", "ㄏ"), ("j", "ㄐ"), ("q", "ㄑ"), ("x", "ㄒ"), ("r", "ㄖ"),
            ("z", "ㄗ"), ("c", "ㄘ"), ("s", "ㄙ")]

# Finals as written after a consonant (ü as v).
FINALS = {
    "a": "ㄚ", "o": "ㄛ", "e": "ㄜ", "ê": "ㄝ", "ai": "ㄞ", "ei": "ㄟ", "ao": "ㄠ", "ou": "ㄡ",
    "an": "ㄢ", "en": "ㄣ", "ang": "ㄤ", "eng": "ㄥ", "er": "ㄦ", "ong": "ㄨㄥ",
    "i": "ㄧ", "ia": "ㄧㄚ", "io": "ㄧㄛ", "ie": "ㄧㄝ", "iao": "ㄧㄠ", "iu": "ㄧㄡ", "ian": "ㄧㄢ",
    "in": "ㄧㄣ", "iang": "ㄧㄤ", "ing": "ㄧㄥ", "iong": "ㄩㄥ",
    "u": "ㄨ", "ua": "ㄨㄚ", "uo": "ㄨㄛ", "uai": "ㄨㄞ", "ui": "ㄨㄟ", "uan": "ㄨㄢ", "un": "ㄨㄣ",
    "uang": "ㄨㄤ", "v": "ㄩ", "ve": "ㄩㄝ", "van": "ㄩㄢ", "vn": "ㄩㄣ",
}

# Syllables without a consonant, in their y/w spelling, and the syllabic nasals.
WHOLE = {
    "yi": "ㄧ", "ya": "ㄧㄚ", "yo": "ㄧㄛ", "ye": "ㄧㄝ", "yai": "ㄧㄞ", "yao": "ㄧㄠ", "you": "ㄧㄡ",
    "yan": "ㄧㄢ", "yin": "ㄧㄣ", "yang": "ㄧㄤ", "ying": "ㄧㄥ", "yong": "ㄩㄥ",
    "yu": "ㄩ", "yue": "ㄩㄝ", "yuan": "ㄩㄢ", "yun": "ㄩㄣ",
    "wu": "ㄨ", "wa": "ㄨㄚ", "wo": "ㄨㄛ", "wai": "ㄨㄞ", "wei": "ㄨㄟ", "wan": "ㄨㄢ", "wen": "ㄨㄣ",
    "wang": "ㄨㄤ", "weng": "ㄨㄥ",
    "m": "ㄇ", "n": "ㄣ", "ng": "ㄫ", "hm": "ㄏㄇ", "hng": "ㄏㄫ",
}

# Combining marks of the four tones; a syllable without one has the light tone.
TONES = {"\u0304": 1, "\u0301": 2, "\u030c": 3, "\u0300": 4}
ZHUYIN_TONES = {1: "", 2: "ˊ", 3: "ˇ", 4: "ˋ"}


def split_tone(syllable):
    """("lve", 4) for "lüè": lower case, ü as v, ê kept, tone 5 when unmarked."""
    tone = 5
    letters = []
    for char in unicodedata.normalize("NFD", syllable.strip().lower()):
        if char in TONES:
            tone = TONES[char]
        elif char == "\u0308":  # diaeresis: the u before it is ü
            letters[-1] = "v"
        elif char == "\u0302":  # circumflex: ê
            letters[-1] = "ê"
        else:
            letters.append(char)
    return "".join(letters).replace("ü", "v"), tone


def toneless(syllable):
    """Toneless ASCII pinyin with ü as v; ê (a syllable of its own) becomes e."""
    return split_tone(syllable)[0].replace("ê", "e")


def _zhuyin_letters(plain):
    if plain in WHOLE:
        return WHOLE[plain]
    for spelled, letter in INITIALS:
        if plain.startswith(spelled):
            final = plain[len(spelled):]
            if final == "i" and letter in "ㄓㄔㄕㄖㄗㄘㄙ":
                return letter  # zhi, chi, shi, ri, zi, ci, si: no written final
            if letter in "ㄐㄑㄒ" and final.startswith("u"):
                final = "v" + final[1:]  # ju, que, xuan, jun are ü
            if final in FINALS:
                return letter + FINALS[final]
            break
    if plain in FINALS and plain[0] in "aoeê":
        return FINALS[plain]
    raise ValueError("not a pinyin syllable: %r" % plain)


def zhuyin(syllable):
    plain, tone = split_tone(syllable)
    letters = _zhuyin_letters(plain)
    return "˙" + letters if tone == 5 else letters + ZHUYIN_TONES[tone]


def zhuyin_to_toneless(table_syllables):
    """Zhuyin without tone -> toneless pinyin, over the given toneless syllables (which must
    not collide)."""
    inverse = {}
    for plain in table_syllables:
        letters = _zhuyin_letters(plain)
        if inverse.get(letters, plain) != plain:
            raise ValueError("%s and %s share %s" % (inverse[letters], plain, letters))
        inverse[letters] = plain
    return inverse


KNOWN = [
    ("zhāng", "zhang", "ㄓㄤ"), ("cháng", "chang", "ㄔㄤˊ"), ("chéng", "cheng", "ㄔㄥˊ"),
    ("nǚ", "nv", "ㄋㄩˇ"), ("lüè", "lve", "ㄌㄩㄝˋ"), ("nüè", "nve", "ㄋㄩㄝˋ"),
    ("ér", "er", "ㄦˊ"), ("de", "de", "˙ㄉㄜ"), ("wǒ", "wo", "ㄨㄛˇ"), ("yī", "yi", "ㄧ"),
    ("yuán", "yuan", "ㄩㄢˊ"), ("yǒng", "yong", "ㄩㄥˇ"), ("xiōng", "xiong", "ㄒㄩㄥ"),
    ("jūn", "jun", "ㄐㄩㄣ"), ("qù", "qu", "ㄑㄩˋ"), ("xué", "xue", "ㄒㄩㄝˊ"),
    ("zhī", "zhi", "ㄓ"), ("sì", "si", "ㄙˋ"), ("rì", "ri", "ㄖˋ"), ("cí", "ci", "ㄘˊ"),
    ("guì", "gui", "ㄍㄨㄟˋ"), ("liù", "liu", "ㄌㄧㄡˋ"), ("dūn", "dun", "ㄉㄨㄣ"),
    ("wēng", "weng", "ㄨㄥ"), ("hóng", "hong", "ㄏㄨㄥˊ"), ("bō", "bo", "ㄅㄛ"),
    ("ài", "ai", "ㄞˋ"), ("ōu", "ou", "ㄡ"), ("àng", "ang", "ㄤˋ"), ("ê̄", "e", "ㄝ"),
    ("ǹg", "ng", "ㄫˋ"), ("ń", "n", "ㄣˊ"), ("lǘ", "lv", "ㄌㄩˊ"), ("yuè", "yue", "ㄩㄝˋ"),
    ("shuí", "shui", "ㄕㄨㄟˊ"), ("zhuàng", "zhuang", "ㄓㄨㄤˋ"), ("kuò", "kuo", "ㄎㄨㄛˋ"),
    ("qiǎng", "qiang", "ㄑㄧㄤˇ"), ("tiān", "tian", "ㄊㄧㄢ"), ("mā", "ma", "ㄇㄚ"),
]


def self_check():
    for marked, plain, letters in KNOWN:
        got = (toneless(marked), zhuyin(marked))
        if got != (plain, letters):
            raise AssertionError("%s gives %s, not %s" % (marked, got, (plain, letters)))
    for bad in ("x", "q", "zhq", "abc"):
        try:
            zhuyin(bad)
        except ValueError:
            continue
        raise AssertionError("%s should not be a syllable" % bad)
