// Words that one thread reads while another may write them, without a lock that both hold: option
// bits, and the fields by which a semaphore wrapper recognises its holder. They keep their plain
// types, which other libraries are compiled against, so the access is atomic instead.
#pragma once

namespace nuv {

template <class Word>
Word relaxed_load(const Word& word) {
    return __atomic_load_n(&word, __ATOMIC_RELAXED);
}

template <class Word>
void relaxed_store(Word& word, Word value) {
    __atomic_store_n(&word, value, __ATOMIC_RELAXED);
}

template <class Word>
void relaxed_set_bits(Word& word, Word bits) {
    __atomic_fetch_or(&word, bits, __ATOMIC_RELAXED);
}

template <class Word>
void relaxed_clear_bits(Word& word, Word bits) {
    __atomic_fetch_and(&word, static_cast<Word>(~bits), __ATOMIC_RELAXED);
}

}  // namespace nuv
