// Test resources of the language dialog and the framework's strings, in the host's resource text
// format. German lacks string 65 and Spanish lacks everything, so that the fall-backs show.
#pragma once

inline constexpr char kLanguageTestResources[] = R"(
dialog 32734 "Resource title" size 400 200 cancel 2
  1 button 300 160 90 28 ""
  2 button 200 160 90 28 ""
  3 list   10  10  180 150
  4 icon   300 10  48  48  32510
  5 static 300 70  90  20  "Test"
  6 static 200 100 190 40  ""
end

strings 32710
  5  "Annulla"
  64 "Va bene"
  65 "Scegli la lingua"
end
strings 32711
  5  "Cancel"
  64 "OK"
  65 "Choose the language"
  70 "International only"
end
strings 32712
  5  "Annuler"
  64 "D'accord"
  65 "Choisissez la langue"
end
strings 32713
  5  "Abbrechen"
  64 "Gut"
end
strings 32715
  5  "キャンセル"
  64 "了解"
  65 "言語を選択"
end
strings 32716
  5  "Отмена"
  64 "Хорошо"
  65 "Выберите язык"
end

strings 32530
  1 "Italiano uno"
end
strings 32531
  1 "International one"
  2 "International two"
end
strings 32532
  1 "Français un"
end
)";
