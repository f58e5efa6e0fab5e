" Vim syntax file
" Language: configuration files of programs built on zqcore27, see zqcore27-config(5)
" A file chooses it by a comment on its first or last line:   ! vim: set filetype=zqcore27:
" (with 'modeline' set, which Debian's vim leaves off).
" Separators are those that every program has at first. What else a program enables is shown as part of words.

if exists('b:current_syntax')
  finish
endif
let s:cpo = &cpo
set cpo&vim

" A statement begins with its name; a continued line doesn't begin one.
syntax match zqcore27Name /\%(^\||\)\@1<=[ \t]*\zs[^ \t\r!"&'|,;+=-]\+/
syntax match zqcore27Word /[^ \t\r!"&'|,;+=-]\+/ contained
syntax match zqcore27Separator /[,;+=-]/
syntax match zqcore27End /|/
syntax match zqcore27Number /\%(^\|[ \t,;+=-]\)\@1<=\%(\d\+\.\?\d*\|\.\d\+\)\%([Ee]\d*\)\?\%([^ \t\r!"&'|,;+=-]\)\@!/
syntax match zqcore27Boolean /\c\%(^\|[ \t,;+=-]\)\@1<=\%(y\|yes\|true\|n\|no\|false\)\%([^ \t\r!"&'|,;+=-]\)\@!/
syntax match zqcore27Continuation /&.*$/ contains=zqcore27Dropped
  \ nextgroup=zqcore27Number,zqcore27Boolean,zqcore27Word skipwhite skipempty
syntax match zqcore27Dropped /&\@1<=.*$/ contained
syntax match zqcore27Comment /!.*$/ contains=@Spell
syntax region zqcore27Quoted start=/'/ skip=/''/ end=/'/ end=/$/ oneline

if getline(1) =~# '^#'
  syntax match zqcore27Comment /#.*$/ contains=@Spell
  syntax match zqcore27Escape /\\\%(["\\nt]\|x\x\x\|[0-3]\o\o\)/ contained
  syntax region zqcore27String start=/"/ skip=/\\["\\]/ end=/"/ end=/$/ oneline contains=zqcore27Escape
else
  syntax match zqcore27Escape /""/ contained
  syntax region zqcore27String start=/"/ skip=/""/ end=/"/ end=/$/ oneline contains=zqcore27Escape
endif

highlight default link zqcore27Name Identifier
highlight default link zqcore27Quoted Identifier
highlight default link zqcore27Boolean Boolean
highlight default link zqcore27Number Number
highlight default link zqcore27Separator Operator
highlight default link zqcore27End Delimiter
highlight default link zqcore27Comment Comment
highlight default link zqcore27Dropped Comment
highlight default link zqcore27Continuation Special
highlight default link zqcore27String String
highlight default link zqcore27Escape SpecialChar

let b:current_syntax = 'zqcore27'
let &cpo = s:cpo
unlet s:cpo
