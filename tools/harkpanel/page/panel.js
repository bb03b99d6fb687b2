// The key panel: brings the connection to the gateway, the state of the station and the parts of the page
// together.

import { Calls } from './calls.js';
import { Channels } from './channels.js';
import { Keys } from './keys.js';
import { cutText, setText } from './labels.js';
import { flashInStep, functionWord, showLamp } from './lamps.js';
import { Shifts } from './shifts.js';
import { Hint, LinkSign, showOutputs } from './signs.js';
import { GatewaySocket } from './socket.js';
import { State } from './state.js';
import { storedToken, takeTokenFromAddress, TokenForm } from './token.js';
import { Fader } from './volume.js';

const LONGEST_LABEL = 10; // bytes
const FUNCTION_KEYS = ['ASGN', 'TGRP', 'MICM', 'SPKM'];

const state = new State();
const socketEvents = { message: receive, lost: gatewayLost, tokenWanted: askForToken };
const socket = new GatewaySocket(storedToken, socketEvents);
const send = (message) => socket.send(message);

const keys = new Keys((event) => send({ t: 'key', ...event }));
const functionKeys = FUNCTION_KEYS.map((key) => document.querySelector(`[data-key="${key}"]`));
for (const element of functionKeys) keys.add(element);
const channels = new Channels(keys, send);
const speaker = makeSpeaker();
const calls = new Calls((call) => send({ t: 'caller', label: cutText(call.name, LONGEST_LABEL) }));
const shifts = new Shifts((name) => send({ t: 'shift', name }));
const linkSign = new LinkSign(() => send({ t: 'retry' }) || socket.hurry());
const hint = new Hint();
const tokenForm = new TokenForm(() => socket.connect());
let refusal = ''; // what the gateway said before it closed

const handlers = { welcome, state: takeState, released, refused };

flashInStep();
takeTokenFromAddress();
window.addEventListener('hashchange', () => {
  if (takeTokenFromAddress()) socket.connect();
});
socket.connect();

function makeSpeaker() {
  const section = document.querySelector('.speaker');
  const fader = new Fader(section.querySelector('input'), section.querySelector('output'), send);
  fader.listenToWheel(section);
  return fader;
}

function receive(message) {
  handlers[message.t]?.(message);
}

function welcome({ id, first, last, autoAnswer }) {
  refusal = '';
  tokenForm.hide();
  document.getElementById('panel-id').textContent = id;
  document.querySelector('.auto-answer').toggleAttribute('data-offered', autoAnswer);
  channels.lay(first, last);
}

function takeState(message) {
  state.merge(message);
  if (message.station) linkSign.showStation(state.station);
  show();
}

function released({ keys: names, why }) {
  keys.released(names);
  hint.showReleased(why);
}

function refused({ why }) {
  refusal = why;
}

function gatewayLost() {
  keys.cancelAll();
  state.darken();
  show();
  linkSign.showGateway(refusal);
}

function askForToken() {
  linkSign.showTokenWanted();
  tokenForm.ask();
}

function show() {
  const { station } = state;
  setText(document.getElementById('station-name'), station.name || 'Key panel');
  channels.show(state);
  channels.showAutoAnswer(state);
  for (const element of functionKeys) {
    const { key } = element.dataset;
    showLamp(element, state.keys[key], functionWord(key, state.keys[key]));
  }
  speaker.show(state.speaker);
  showOutputs(state.outputs);
  calls.show(state.calls);
  shifts.show(state.shifts);
  hint.showMode(state);
  showTitle();
}

function showTitle() {
  const ringing = state.calls.filter((call) => call.rings);
  const name = state.station.name || 'Key panel';
  document.title = ringing.length ? `${ringing[0].name || 'A call'} rings – ${name}` : name;
}
