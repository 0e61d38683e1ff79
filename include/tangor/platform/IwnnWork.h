#pragma once

// The work area of the conversion engine: everything the engine knows lives here, so one object
// serves a whole process (the library defines it as `iWnn`). The layout is the engine's; the
// fields below are the ones the library's loader and the engine share, in the engine's order.
//
// The loader (`init_lib`) places each dictionary file in a malloc'ed buffer and records how many
// bytes of it hold the file; the engine reads nothing beyond that count. Release of every buffer
// held here is `free_dic`'s.

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

enum { IWNN_DIC_TABLE_SIZE = 20, IWNN_SET_BUFFERS = 3, IWNN_SETTINGS_BUFFER = 2 };

typedef struct IwnnDicEntry {
    uint8_t ownership;   // 1: the image belongs to someone else, free_dic leaves it alone
    void* image;         // dictionary image; entry 0 holds the words ("njtan.a")
    void* companion;     // released together with the image
    void* buffers[2];    // released by free_dic
    uint32_t imageSize;  // bytes of `image` that hold the file
    void* area;          // per-entry scratch area (32 bits on the head unit)
} IwnnDicEntry;

// What njx_init accepted, so that later calls neither validate again nor trust a changed table.
typedef struct IwnnLoadedDictionary {
    const void* words;     // the image of table entry 0 that was validated
    const void* settings;  // the settings buffer that was validated
    uint32_t wordCount;
    uint16_t longestWord;     // units
    uint16_t candidateLimit;  // units
    const void* wordIndex;    // the engine buffer it built for these words; null without one
    uint16_t version;         // of the format: 2 weighs the words, 1 takes the longest
} IwnnLoadedDictionary;

typedef struct IwnnDicSet {
    IwnnDicEntry table[IWNN_DIC_TABLE_SIZE];
    void* buffers[IWNN_SET_BUFFERS];  // buffers[IWNN_SETTINGS_BUFFER] holds "njcon.a"
    uint32_t bufferSizes[IWNN_SET_BUFFERS];
    IwnnLoadedDictionary loaded;
} IwnnDicSet;

typedef struct IwnnWork {
    uint32_t state;      // leading word: non-zero once the engine runs
    void* engineBuffer;  // the engine's own working memory, released by free_dic
    IwnnDicSet dicSet;   // cleared as a whole before dictionaries are loaded
} IwnnWork;

// One word found by mmx_split_word: a dictionary entry, or one syllable of it, or a run of Latin
// letters and digits, or units without a reading.
typedef struct IwnnWord {
    const unsigned char* text;  // the word's first unit, inside the text that was split
    uint16_t length;            // units
    int16_t part;               // the syllable of the entry's reading, -1 for the whole reading
    int32_t entry;              // dictionary entry, or IWNN_NO_READING, or IWNN_LATIN_RUN
} IwnnWord;

enum { IWNN_NO_READING = -1, IWNN_LATIN_RUN = -2 };

#ifdef __cplusplus
}
#endif
