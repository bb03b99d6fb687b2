// Lamps of keys: what they show in a word, and that all flash in step. Shape and colour are the style
// sheet's, by data-lamp.

import { setText } from './labels.js';

const CALL_WORDS = { off: 'off', on: 'on', flash: 'ringing', wink: 'level above' };
const GROUP_WORDS = { ...CALL_WORDS, off: 'not in', on: 'in group' };
const FUNCTION_WORDS = {
  ASGN: { off: 'off', flash: 'pick a key' },
  TGRP: { off: 'off', on: 'talking', flash: 'editing' },
  MICM: { off: 'open', on: 'muted' },
  SPKM: { off: 'open', on: 'muted' },
};
// Why a lamp flashes, by the letter of its call's direction.
const FLASH_WORDS = { R: 'ringing', r: 'calling', C: 'calling', S: 'calling', d: 'dropped' };

/**
 * The word of a channel's lamp.
 * @param {import('./state.js').Lamp} lamp
 * @param {'call' | 'assign' | 'group'} mode
 * @param {string} [letter]  state of the call's direction, if a call is known
 */
export function channelWord(lamp, mode, letter) {
  if (mode === 'group') return GROUP_WORDS[lamp];
  return (lamp === 'flash' && FLASH_WORDS[letter]) || CALL_WORDS[lamp];
}

/** The word of a function key's lamp. */
export function functionWord(key, lamp) {
  return FUNCTION_WORDS[key][lamp] ?? CALL_WORDS[lamp];
}

/**
 * Sets lamp and word of a key.
 * @param {HTMLElement} element
 * @param {import('./state.js').Lamp} lamp
 * @param {string} word
 */
export function showLamp(element, lamp, word) {
  setText(element.querySelector('.word'), word);
  if (element.dataset.lamp !== lamp) element.dataset.lamp = lamp;
}

/** An animation begins when its lamp does; from one common origin they all beat together. */
export function flashInStep() {
  document.addEventListener('animationstart', ({ target }) => {
    for (const animation of target.getAnimations({ subtree: true })) animation.startTime = 0;
  });
}
