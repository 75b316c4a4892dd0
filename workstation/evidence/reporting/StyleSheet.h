// How a report looks: on screens of every width, light and dark, and on paper.
#pragma once

namespace workstation::evidence::reporting {

constexpr char const styleSheet[] = R"css(
:root {
  color-scheme: light dark;
  --page: #ffffff; --text: #1b1b1b; --muted: #555555; --line: #c8c8c8; --stripe: #f3f5f7;
  --link: #005a8f; --good: #00664a; --bad: #a83f00;
  --finished: #0072b2; --finished-odd: #00507d; --recording: #007a59;
  --unknown: #737373; --unknown-odd: #595959; --inside: #ffffff;
  --gap: #f5d898; --gap-line: #d55e00; --fault: #d55e00; --event: #cc79a7; --grid: #b0b0b0;
}
@media screen and (prefers-color-scheme: dark) {
  :root {
    --page: #14171a; --text: #e8e8e8; --muted: #b0b0b0; --line: #4a4f55; --stripe: #1d2125;
    --link: #7cc4f5; --good: #4fd0ac; --bad: #ffab73;
    --finished: #56b4e9; --finished-odd: #3794c9; --recording: #2fb592;
    --unknown: #a3a3a3; --unknown-odd: #8a8a8a; --inside: #000000;
    --gap: #5c4614; --gap-line: #f0a040; --fault: #ff9a55; --event: #8f4f77; --grid: #4a4f55;
  }
}
* { box-sizing: border-box; }
body {
  margin: 0 auto; padding: 1rem; max-width: 80rem; background: var(--page); color: var(--text);
  font: 0.9375rem/1.5 "DejaVu Sans", Verdana, system-ui, sans-serif;
}
h1 { font-size: 1.6rem; line-height: 1.2; margin: 0.5rem 0; }
h2 { font-size: 1.2rem; margin: 2rem 0 0.5rem; }
h3 { font-size: 1rem; margin: 1.5rem 0 0.5rem; }
a { color: var(--link); unicode-bidi: isolate; }
a:focus-visible, .scroll:focus-visible { outline: 3px solid var(--link); outline-offset: 2px; }
nav ul { display: flex; flex-wrap: wrap; gap: 0 1.25rem; margin: 0; padding: 0; list-style: none; }
nav a { display: inline-block; padding: 0.4rem 0; }
.good { color: var(--good); font-weight: bold; }
.bad { color: var(--bad); font-weight: bold; }
.bad a { color: inherit; }
.skip:not(:focus) { position: absolute; width: 1px; height: 1px; overflow: hidden; clip-path: inset(50%); }
dl { display: grid; grid-template-columns: repeat(auto-fill, minmax(min(100%, 20rem), 1fr));
  gap: 0.5rem 2rem; margin: 0.5rem 0; }
dt { color: var(--muted); font-size: 0.8125rem; }
dd { margin: 0; overflow-wrap: anywhere; }
figure { margin: 0; }
figcaption { margin: 0.5rem 0; }
.scroll { overflow-x: auto; max-width: 100%; }
table { border-collapse: collapse; margin: 0.25rem 0 0.75rem; font-size: 0.8125rem; }
caption { text-align: left; color: var(--muted); padding: 0.25rem 0; }
th, td { padding: 0.25rem 0.75rem 0.25rem 0; text-align: left; vertical-align: top;
  border-bottom: 1px solid var(--line); font-weight: normal; }
thead th { font-weight: bold; border-bottom-width: 2px; }
.name { overflow-wrap: anywhere; min-width: 9rem; }
.n { text-align: right; font-variant-numeric: tabular-nums; }
tr:target { background: var(--stripe); outline: 2px solid var(--link); }
svg { display: block; width: 100%; min-width: 56rem; height: auto; font-size: 11px; }
svg text { fill: var(--text); }
svg a { text-decoration: none; }
svg .middle { text-anchor: middle; }
svg .end { text-anchor: end; }
svg text.inside { fill: var(--inside); }
.finished { fill: var(--finished); }
.finished.odd { fill: var(--finished-odd); }
.recording { fill: var(--recording); }
.unknown { fill: var(--unknown); }
.unknown.odd { fill: var(--unknown-odd); }
.event { fill: var(--event); }
rect.gap { fill: var(--gap); stroke: var(--gap-line); }
.pointer { fill: var(--gap-line); }
.fault { fill: none; stroke: var(--fault); stroke-width: 1.5; }
.grid { stroke: var(--grid); stroke-width: 0.5; }
@page { margin: 12mm; }
@media print {
  * { print-color-adjust: exact; -webkit-print-color-adjust: exact; }
  body { padding: 0; max-width: none; font-size: 9pt; }
  nav { display: none; }
  .scroll { overflow: visible; }
  table { font-size: 7pt; width: 100%; }
  th, td { padding-right: 1.5mm; }
  .name { min-width: 20mm; }
  svg { min-width: 0; }
  h2, h3, caption { break-after: avoid; }
  tr, figure { break-inside: avoid; }
  a { color: inherit; text-decoration: none; }
}
)css";

} // namespace workstation::evidence::reporting
