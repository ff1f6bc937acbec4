/// \file
/// KIV Library: languages and territories.
///
/// `KivClLanguage` names a language together with an optional territory. It is
/// parsed from codes such as "en-us", "de_DE" or "x-all" and turned back into
/// short codes ("en-us"), long codes ("en-usa"), ISO-style codes ("en-us", or
/// "en" when no territory is given), display names and one packed number
/// (language << 16 | territory) that callers may store and turn back into the
/// same object.
///
/// Two constant tables stand behind it: 143 languages and 242 territories,
/// each sorted by its two-letter code without regard to case and searched by
/// binary search. Row 0 of each is the unspecified entry ("**"); the index
/// one past each table (143, 242) means "invalid". The row order is the
/// library's numbering and never changes, so the enumerator values and the
/// packed numbers stay valid from release to release. The tables and the
/// enumerators are generated from the ISO 639 and ISO 3166 data by
/// scripts/gen_language_tables.py; edit the script, never the tables.
///
/// Deliberate behaviour, kept as it is:
/// - Old and new codes of a language live side by side: "iw" and "he" are both
///   Hebrew, "no", "nb" and "nn" are three rows, "mo" (Moldavian) and "sh"
///   (Serbo-Croatian) are present; "in" is absent, "id" is present.
/// - Territories include codes that are not, or no longer, ISO 3166-1 codes:
///   "aa" (the Arabic-speaking region, number 0), "sp" (Serbia, number 0),
///   "fx", "tp", "yu", "zr" and "an".
/// - The short and long extractions always write a territory, "**" or "***"
///   when none was given ("en-**"); the ISO extractions and the stream output
///   leave it out.
///
/// Choices where the behaviour was open:
/// - Codes are compared with ASCII case folding only, never through the
///   locale, so that a Turkish locale (dotless i) finds "IT" all the same.
/// - The territory is looked up from the whole text behind the separator:
///   "en-us-posix" and "en-usa" have the invalid territory.
/// - A null tag gives the invalid language and the invalid territory; a tag
///   shorter than two characters gives the invalid language.
/// - The number constructor keeps whatever 16-bit indices it is given, so that
///   it is the exact inverse of `asNumber()`; every query treats an index at or
///   beyond its table as invalid ("??").
/// - Names are the ISO English names folded to plain ASCII ("Cote d'Ivoire").
///
/// Ownership: every text returned points into the constant tables and lives
/// as long as the program; callers never free it. The extraction functions
/// write into a caller's buffer of at least `cv_uiCodeBufferSize` bytes.
/// Failure: nothing throws and nothing keeps an error record; unknown codes
/// give the invalid indices, and queries of invalid indices give "??" (or the
/// number 0xFFFFFFFF). Thread safety: the tables are constant and the static
/// queries may be called from any thread; an object is a plain value that
/// several threads may read, but `init` on a shared object needs the caller's
/// lock.
#ifndef KIV_LANGUAGE_HPP
#define KIV_LANGUAGE_HPP

#include <cstddef>
#include <cstdint>
#include <iosfwd>

#include "kiv_export.hpp"

/// A language with an optional territory, as two indices into the constant
/// language and territory tables.
class KIV_EXPORT KivClLanguage {
 public:
  /// Index into the language table; enumerator LANGUAGE_XX is the row of
  /// the code "xx". LANGUAGE_INVALID is one past the table.
  enum class KivEnLanguage : std::int32_t {
    // clang-format off
    // BEGIN GENERATED LANGUAGES (scripts/gen_language_tables.py)
    LANGUAGE_UNSPECIFIED = 0,  ///< ** Unspecified
    LANGUAGE_AA = 1,  ///< aa Afar
    LANGUAGE_AB = 2,  ///< ab Abkhazian
    LANGUAGE_AF = 3,  ///< af Afrikaans
    LANGUAGE_AM = 4,  ///< am Amharic
    LANGUAGE_AR = 5,  ///< ar Arabic
    LANGUAGE_AS = 6,  ///< as Assamese
    LANGUAGE_AY = 7,  ///< ay Aymara
    LANGUAGE_AZ = 8,  ///< az Azerbaijani
    LANGUAGE_BA = 9,  ///< ba Bashkir
    LANGUAGE_BE = 10,  ///< be Belarusian
    LANGUAGE_BG = 11,  ///< bg Bulgarian
    LANGUAGE_BH = 12,  ///< bh Bihari languages
    LANGUAGE_BI = 13,  ///< bi Bislama
    LANGUAGE_BN = 14,  ///< bn Bengali
    LANGUAGE_BO = 15,  ///< bo Tibetan
    LANGUAGE_BR = 16,  ///< br Breton
    LANGUAGE_CA = 17,  ///< ca Catalan
    LANGUAGE_CO = 18,  ///< co Corsican
    LANGUAGE_CS = 19,  ///< cs Czech
    LANGUAGE_CY = 20,  ///< cy Welsh
    LANGUAGE_DA = 21,  ///< da Danish
    LANGUAGE_DE = 22,  ///< de German
    LANGUAGE_DZ = 23,  ///< dz Dzongkha
    LANGUAGE_EL = 24,  ///< el Modern Greek (1453-)
    LANGUAGE_EN = 25,  ///< en English
    LANGUAGE_EO = 26,  ///< eo Esperanto
    LANGUAGE_ES = 27,  ///< es Spanish
    LANGUAGE_ET = 28,  ///< et Estonian
    LANGUAGE_EU = 29,  ///< eu Basque
    LANGUAGE_FA = 30,  ///< fa Persian
    LANGUAGE_FI = 31,  ///< fi Finnish
    LANGUAGE_FJ = 32,  ///< fj Fijian
    LANGUAGE_FO = 33,  ///< fo Faroese
    LANGUAGE_FR = 34,  ///< fr French
    LANGUAGE_FY = 35,  ///< fy Western Frisian
    LANGUAGE_GA = 36,  ///< ga Irish
    LANGUAGE_GD = 37,  ///< gd Scottish Gaelic
    LANGUAGE_GL = 38,  ///< gl Galician
    LANGUAGE_GN = 39,  ///< gn Guarani
    LANGUAGE_GU = 40,  ///< gu Gujarati
    LANGUAGE_HA = 41,  ///< ha Hausa
    LANGUAGE_HE = 42,  ///< he Hebrew
    LANGUAGE_HI = 43,  ///< hi Hindi
    LANGUAGE_HR = 44,  ///< hr Croatian
    LANGUAGE_HU = 45,  ///< hu Hungarian
    LANGUAGE_HY = 46,  ///< hy Armenian
    LANGUAGE_IA = 47,  ///< ia Interlingua (International Auxiliary Language Association)
    LANGUAGE_ID = 48,  ///< id Indonesian
    LANGUAGE_IE = 49,  ///< ie Interlingue
    LANGUAGE_IK = 50,  ///< ik Inupiaq
    LANGUAGE_IS = 51,  ///< is Icelandic
    LANGUAGE_IT = 52,  ///< it Italian
    LANGUAGE_IU = 53,  ///< iu Inuktitut
    LANGUAGE_IW = 54,  ///< iw Hebrew
    LANGUAGE_JA = 55,  ///< ja Japanese
    LANGUAGE_JV = 56,  ///< jv Javanese
    LANGUAGE_KA = 57,  ///< ka Georgian
    LANGUAGE_KK = 58,  ///< kk Kazakh
    LANGUAGE_KL = 59,  ///< kl Kalaallisut
    LANGUAGE_KM = 60,  ///< km Khmer
    LANGUAGE_KN = 61,  ///< kn Kannada
    LANGUAGE_KO = 62,  ///< ko Korean
    LANGUAGE_KS = 63,  ///< ks Kashmiri
    LANGUAGE_KU = 64,  ///< ku Kurdish
    LANGUAGE_KY = 65,  ///< ky Kirghiz
    LANGUAGE_LA = 66,  ///< la Latin
    LANGUAGE_LN = 67,  ///< ln Lingala
    LANGUAGE_LO = 68,  ///< lo Lao
    LANGUAGE_LT = 69,  ///< lt Lithuanian
    LANGUAGE_LV = 70,  ///< lv Latvian
    LANGUAGE_MG = 71,  ///< mg Malagasy
    LANGUAGE_MI = 72,  ///< mi Maori
    LANGUAGE_MK = 73,  ///< mk Macedonian
    LANGUAGE_ML = 74,  ///< ml Malayalam
    LANGUAGE_MN = 75,  ///< mn Mongolian
    LANGUAGE_MO = 76,  ///< mo Moldavian
    LANGUAGE_MR = 77,  ///< mr Marathi
    LANGUAGE_MS = 78,  ///< ms Malay
    LANGUAGE_MT = 79,  ///< mt Maltese
    LANGUAGE_MY = 80,  ///< my Burmese
    LANGUAGE_NA = 81,  ///< na Nauru
    LANGUAGE_NB = 82,  ///< nb Norwegian (Bokmal)
    LANGUAGE_NE = 83,  ///< ne Nepali
    LANGUAGE_NL = 84,  ///< nl Dutch
    LANGUAGE_NN = 85,  ///< nn Norwegian (Nynorsk)
    LANGUAGE_NO = 86,  ///< no Norwegian
    LANGUAGE_OC = 87,  ///< oc Occitan (post 1500)
    LANGUAGE_OM = 88,  ///< om Oromo
    LANGUAGE_OR = 89,  ///< or Oriya
    LANGUAGE_PA = 90,  ///< pa Panjabi
    LANGUAGE_PL = 91,  ///< pl Polish
    LANGUAGE_PS = 92,  ///< ps Pushto
    LANGUAGE_PT = 93,  ///< pt Portuguese
    LANGUAGE_QU = 94,  ///< qu Quechua
    LANGUAGE_RM = 95,  ///< rm Romansh
    LANGUAGE_RN = 96,  ///< rn Rundi
    LANGUAGE_RO = 97,  ///< ro Romanian
    LANGUAGE_RU = 98,  ///< ru Russian
    LANGUAGE_RW = 99,  ///< rw Kinyarwanda
    LANGUAGE_SA = 100,  ///< sa Sanskrit
    LANGUAGE_SD = 101,  ///< sd Sindhi
    LANGUAGE_SG = 102,  ///< sg Sango
    LANGUAGE_SH = 103,  ///< sh Serbo-Croatian
    LANGUAGE_SI = 104,  ///< si Sinhala
    LANGUAGE_SK = 105,  ///< sk Slovak
    LANGUAGE_SL = 106,  ///< sl Slovenian
    LANGUAGE_SM = 107,  ///< sm Samoan
    LANGUAGE_SN = 108,  ///< sn Shona
    LANGUAGE_SO = 109,  ///< so Somali
    LANGUAGE_SQ = 110,  ///< sq Albanian
    LANGUAGE_SR = 111,  ///< sr Serbian
    LANGUAGE_SS = 112,  ///< ss Swati
    LANGUAGE_ST = 113,  ///< st Southern Sotho
    LANGUAGE_SU = 114,  ///< su Sundanese
    LANGUAGE_SV = 115,  ///< sv Swedish
    LANGUAGE_SW = 116,  ///< sw Swahili
    LANGUAGE_TA = 117,  ///< ta Tamil
    LANGUAGE_TE = 118,  ///< te Telugu
    LANGUAGE_TG = 119,  ///< tg Tajik
    LANGUAGE_TH = 120,  ///< th Thai
    LANGUAGE_TI = 121,  ///< ti Tigrinya
    LANGUAGE_TK = 122,  ///< tk Turkmen
    LANGUAGE_TL = 123,  ///< tl Tagalog
    LANGUAGE_TN = 124,  ///< tn Tswana
    LANGUAGE_TO = 125,  ///< to Tonga (Tonga Islands)
    LANGUAGE_TR = 126,  ///< tr Turkish
    LANGUAGE_TS = 127,  ///< ts Tsonga
    LANGUAGE_TT = 128,  ///< tt Tatar
    LANGUAGE_TW = 129,  ///< tw Twi
    LANGUAGE_UG = 130,  ///< ug Uighur
    LANGUAGE_UK = 131,  ///< uk Ukrainian
    LANGUAGE_UR = 132,  ///< ur Urdu
    LANGUAGE_UZ = 133,  ///< uz Uzbek
    LANGUAGE_VI = 134,  ///< vi Vietnamese
    LANGUAGE_VO = 135,  ///< vo Volapuk
    LANGUAGE_WO = 136,  ///< wo Wolof
    LANGUAGE_XH = 137,  ///< xh Xhosa
    LANGUAGE_YI = 138,  ///< yi Yiddish
    LANGUAGE_YO = 139,  ///< yo Yoruba
    LANGUAGE_ZA = 140,  ///< za Zhuang
    LANGUAGE_ZH = 141,  ///< zh Chinese
    LANGUAGE_ZU = 142,  ///< zu Zulu
    LANGUAGE_INVALID = 143,  ///< one past the table: no such language
    // END GENERATED LANGUAGES
    // clang-format on
  };

  /// Index into the territory table; enumerator TERRITORY_XX is the row of
  /// the short code "xx". TERRITORY_INVALID is one past the table.
  enum class KivEnTerritory : std::int32_t {
    // clang-format off
    // BEGIN GENERATED TERRITORIES (scripts/gen_language_tables.py)
    TERRITORY_UNSPECIFIED = 0,  ///< ** Unspecified
    TERRITORY_AA = 1,  ///< aa Arabic
    TERRITORY_AD = 2,  ///< ad Andorra
    TERRITORY_AE = 3,  ///< ae United Arab Emirates
    TERRITORY_AF = 4,  ///< af Afghanistan
    TERRITORY_AG = 5,  ///< ag Antigua and Barbuda
    TERRITORY_AI = 6,  ///< ai Anguilla
    TERRITORY_AL = 7,  ///< al Albania
    TERRITORY_AM = 8,  ///< am Armenia
    TERRITORY_AN = 9,  ///< an Netherlands Antilles
    TERRITORY_AO = 10,  ///< ao Angola
    TERRITORY_AQ = 11,  ///< aq Antarctica
    TERRITORY_AR = 12,  ///< ar Argentina
    TERRITORY_AS = 13,  ///< as American Samoa
    TERRITORY_AT = 14,  ///< at Austria
    TERRITORY_AU = 15,  ///< au Australia
    TERRITORY_AW = 16,  ///< aw Aruba
    TERRITORY_AZ = 17,  ///< az Azerbaijan
    TERRITORY_BA = 18,  ///< ba Bosnia and Herzegovina
    TERRITORY_BB = 19,  ///< bb Barbados
    TERRITORY_BD = 20,  ///< bd Bangladesh
    TERRITORY_BE = 21,  ///< be Belgium
    TERRITORY_BF = 22,  ///< bf Burkina Faso
    TERRITORY_BG = 23,  ///< bg Bulgaria
    TERRITORY_BH = 24,  ///< bh Bahrain
    TERRITORY_BI = 25,  ///< bi Burundi
    TERRITORY_BJ = 26,  ///< bj Benin
    TERRITORY_BM = 27,  ///< bm Bermuda
    TERRITORY_BN = 28,  ///< bn Brunei Darussalam
    TERRITORY_BO = 29,  ///< bo Bolivia, Plurinational State of
    TERRITORY_BR = 30,  ///< br Brazil
    TERRITORY_BS = 31,  ///< bs Bahamas
    TERRITORY_BT = 32,  ///< bt Bhutan
    TERRITORY_BV = 33,  ///< bv Bouvet Island
    TERRITORY_BW = 34,  ///< bw Botswana
    TERRITORY_BY = 35,  ///< by Belarus
    TERRITORY_BZ = 36,  ///< bz Belize
    TERRITORY_CA = 37,  ///< ca Canada
    TERRITORY_CC = 38,  ///< cc Cocos (Keeling) Islands
    TERRITORY_CF = 39,  ///< cf Central African Republic
    TERRITORY_CG = 40,  ///< cg Congo
    TERRITORY_CH = 41,  ///< ch Switzerland
    TERRITORY_CI = 42,  ///< ci Cote d'Ivoire
    TERRITORY_CK = 43,  ///< ck Cook Islands
    TERRITORY_CL = 44,  ///< cl Chile
    TERRITORY_CM = 45,  ///< cm Cameroon
    TERRITORY_CN = 46,  ///< cn China
    TERRITORY_CO = 47,  ///< co Colombia
    TERRITORY_CR = 48,  ///< cr Costa Rica
    TERRITORY_CU = 49,  ///< cu Cuba
    TERRITORY_CV = 50,  ///< cv Cabo Verde
    TERRITORY_CX = 51,  ///< cx Christmas Island
    TERRITORY_CY = 52,  ///< cy Cyprus
    TERRITORY_CZ = 53,  ///< cz Czechia
    TERRITORY_DE = 54,  ///< de Germany
    TERRITORY_DJ = 55,  ///< dj Djibouti
    TERRITORY_DK = 56,  ///< dk Denmark
    TERRITORY_DM = 57,  ///< dm Dominica
    TERRITORY_DO = 58,  ///< do Dominican Republic
    TERRITORY_DZ = 59,  ///< dz Algeria
    TERRITORY_EC = 60,  ///< ec Ecuador
    TERRITORY_EE = 61,  ///< ee Estonia
    TERRITORY_EG = 62,  ///< eg Egypt
    TERRITORY_EH = 63,  ///< eh Western Sahara
    TERRITORY_ER = 64,  ///< er Eritrea
    TERRITORY_ES = 65,  ///< es Spain
    TERRITORY_ET = 66,  ///< et Ethiopia
    TERRITORY_FI = 67,  ///< fi Finland
    TERRITORY_FJ = 68,  ///< fj Fiji
    TERRITORY_FK = 69,  ///< fk Falkland Islands (Malvinas)
    TERRITORY_FM = 70,  ///< fm Micronesia, Federated States of
    TERRITORY_FO = 71,  ///< fo Faroe Islands
    TERRITORY_FR = 72,  ///< fr France
    TERRITORY_FX = 73,  ///< fx France Metropolitan
    TERRITORY_GA = 74,  ///< ga Gabon
    TERRITORY_GB = 75,  ///< gb United Kingdom
    TERRITORY_GD = 76,  ///< gd Grenada
    TERRITORY_GE = 77,  ///< ge Georgia
    TERRITORY_GF = 78,  ///< gf French Guiana
    TERRITORY_GH = 79,  ///< gh Ghana
    TERRITORY_GI = 80,  ///< gi Gibraltar
    TERRITORY_GL = 81,  ///< gl Greenland
    TERRITORY_GM = 82,  ///< gm Gambia
    TERRITORY_GN = 83,  ///< gn Guinea
    TERRITORY_GP = 84,  ///< gp Guadeloupe
    TERRITORY_GQ = 85,  ///< gq Equatorial Guinea
    TERRITORY_GR = 86,  ///< gr Greece
    TERRITORY_GS = 87,  ///< gs South Georgia and the South Sandwich Islands
    TERRITORY_GT = 88,  ///< gt Guatemala
    TERRITORY_GU = 89,  ///< gu Guam
    TERRITORY_GW = 90,  ///< gw Guinea-Bissau
    TERRITORY_GY = 91,  ///< gy Guyana
    TERRITORY_HK = 92,  ///< hk Hong Kong
    TERRITORY_HM = 93,  ///< hm Heard Island and McDonald Islands
    TERRITORY_HN = 94,  ///< hn Honduras
    TERRITORY_HR = 95,  ///< hr Croatia
    TERRITORY_HT = 96,  ///< ht Haiti
    TERRITORY_HU = 97,  ///< hu Hungary
    TERRITORY_ID = 98,  ///< id Indonesia
    TERRITORY_IE = 99,  ///< ie Ireland
    TERRITORY_IL = 100,  ///< il Israel
    TERRITORY_IN = 101,  ///< in India
    TERRITORY_IO = 102,  ///< io British Indian Ocean Territory
    TERRITORY_IQ = 103,  ///< iq Iraq
    TERRITORY_IR = 104,  ///< ir Iran, Islamic Republic of
    TERRITORY_IS = 105,  ///< is Iceland
    TERRITORY_IT = 106,  ///< it Italy
    TERRITORY_JM = 107,  ///< jm Jamaica
    TERRITORY_JO = 108,  ///< jo Jordan
    TERRITORY_JP = 109,  ///< jp Japan
    TERRITORY_KE = 110,  ///< ke Kenya
    TERRITORY_KG = 111,  ///< kg Kyrgyzstan
    TERRITORY_KH = 112,  ///< kh Cambodia
    TERRITORY_KI = 113,  ///< ki Kiribati
    TERRITORY_KM = 114,  ///< km Comoros
    TERRITORY_KN = 115,  ///< kn Saint Kitts and Nevis
    TERRITORY_KP = 116,  ///< kp Korea, Democratic People's Republic of
    TERRITORY_KR = 117,  ///< kr Korea, Republic of
    TERRITORY_KW = 118,  ///< kw Kuwait
    TERRITORY_KY = 119,  ///< ky Cayman Islands
    TERRITORY_KZ = 120,  ///< kz Kazakhstan
    TERRITORY_LA = 121,  ///< la Lao People's Democratic Republic
    TERRITORY_LB = 122,  ///< lb Lebanon
    TERRITORY_LC = 123,  ///< lc Saint Lucia
    TERRITORY_LI = 124,  ///< li Liechtenstein
    TERRITORY_LK = 125,  ///< lk Sri Lanka
    TERRITORY_LR = 126,  ///< lr Liberia
    TERRITORY_LS = 127,  ///< ls Lesotho
    TERRITORY_LT = 128,  ///< lt Lithuania
    TERRITORY_LU = 129,  ///< lu Luxembourg
    TERRITORY_LV = 130,  ///< lv Latvia
    TERRITORY_LY = 131,  ///< ly Libya
    TERRITORY_MA = 132,  ///< ma Morocco
    TERRITORY_MC = 133,  ///< mc Monaco
    TERRITORY_MD = 134,  ///< md Moldova, Republic of
    TERRITORY_MG = 135,  ///< mg Madagascar
    TERRITORY_MH = 136,  ///< mh Marshall Islands
    TERRITORY_MK = 137,  ///< mk North Macedonia
    TERRITORY_ML = 138,  ///< ml Mali
    TERRITORY_MM = 139,  ///< mm Myanmar
    TERRITORY_MN = 140,  ///< mn Mongolia
    TERRITORY_MO = 141,  ///< mo Macao
    TERRITORY_MP = 142,  ///< mp Northern Mariana Islands
    TERRITORY_MQ = 143,  ///< mq Martinique
    TERRITORY_MR = 144,  ///< mr Mauritania
    TERRITORY_MS = 145,  ///< ms Montserrat
    TERRITORY_MT = 146,  ///< mt Malta
    TERRITORY_MU = 147,  ///< mu Mauritius
    TERRITORY_MV = 148,  ///< mv Maldives
    TERRITORY_MW = 149,  ///< mw Malawi
    TERRITORY_MX = 150,  ///< mx Mexico
    TERRITORY_MY = 151,  ///< my Malaysia
    TERRITORY_MZ = 152,  ///< mz Mozambique
    TERRITORY_NA = 153,  ///< na Namibia
    TERRITORY_NC = 154,  ///< nc New Caledonia
    TERRITORY_NE = 155,  ///< ne Niger
    TERRITORY_NF = 156,  ///< nf Norfolk Island
    TERRITORY_NG = 157,  ///< ng Nigeria
    TERRITORY_NI = 158,  ///< ni Nicaragua
    TERRITORY_NL = 159,  ///< nl Netherlands
    TERRITORY_NO = 160,  ///< no Norway
    TERRITORY_NP = 161,  ///< np Nepal
    TERRITORY_NR = 162,  ///< nr Nauru
    TERRITORY_NU = 163,  ///< nu Niue
    TERRITORY_NZ = 164,  ///< nz New Zealand
    TERRITORY_OM = 165,  ///< om Oman
    TERRITORY_PA = 166,  ///< pa Panama
    TERRITORY_PE = 167,  ///< pe Peru
    TERRITORY_PF = 168,  ///< pf French Polynesia
    TERRITORY_PG = 169,  ///< pg Papua New Guinea
    TERRITORY_PH = 170,  ///< ph Philippines
    TERRITORY_PK = 171,  ///< pk Pakistan
    TERRITORY_PL = 172,  ///< pl Poland
    TERRITORY_PM = 173,  ///< pm Saint Pierre and Miquelon
    TERRITORY_PN = 174,  ///< pn Pitcairn
    TERRITORY_PR = 175,  ///< pr Puerto Rico
    TERRITORY_PT = 176,  ///< pt Portugal
    TERRITORY_PW = 177,  ///< pw Palau
    TERRITORY_PY = 178,  ///< py Paraguay
    TERRITORY_QA = 179,  ///< qa Qatar
    TERRITORY_RE = 180,  ///< re Reunion
    TERRITORY_RO = 181,  ///< ro Romania
    TERRITORY_RU = 182,  ///< ru Russian Federation
    TERRITORY_RW = 183,  ///< rw Rwanda
    TERRITORY_SA = 184,  ///< sa Saudi Arabia
    TERRITORY_SB = 185,  ///< sb Solomon Islands
    TERRITORY_SC = 186,  ///< sc Seychelles
    TERRITORY_SD = 187,  ///< sd Sudan
    TERRITORY_SE = 188,  ///< se Sweden
    TERRITORY_SG = 189,  ///< sg Singapore
    TERRITORY_SH = 190,  ///< sh Saint Helena, Ascension and Tristan da Cunha
    TERRITORY_SI = 191,  ///< si Slovenia
    TERRITORY_SJ = 192,  ///< sj Svalbard and Jan Mayen
    TERRITORY_SK = 193,  ///< sk Slovakia
    TERRITORY_SL = 194,  ///< sl Sierra Leone
    TERRITORY_SM = 195,  ///< sm San Marino
    TERRITORY_SN = 196,  ///< sn Senegal
    TERRITORY_SO = 197,  ///< so Somalia
    TERRITORY_SP = 198,  ///< sp Serbia
    TERRITORY_SR = 199,  ///< sr Suriname
    TERRITORY_ST = 200,  ///< st Sao Tome and Principe
    TERRITORY_SV = 201,  ///< sv El Salvador
    TERRITORY_SY = 202,  ///< sy Syrian Arab Republic
    TERRITORY_SZ = 203,  ///< sz Eswatini
    TERRITORY_TC = 204,  ///< tc Turks and Caicos Islands
    TERRITORY_TD = 205,  ///< td Chad
    TERRITORY_TF = 206,  ///< tf French Southern Territories
    TERRITORY_TG = 207,  ///< tg Togo
    TERRITORY_TH = 208,  ///< th Thailand
    TERRITORY_TJ = 209,  ///< tj Tajikistan
    TERRITORY_TK = 210,  ///< tk Tokelau
    TERRITORY_TM = 211,  ///< tm Turkmenistan
    TERRITORY_TN = 212,  ///< tn Tunisia
    TERRITORY_TO = 213,  ///< to Tonga
    TERRITORY_TP = 214,  ///< tp East Timor
    TERRITORY_TR = 215,  ///< tr Turkiye
    TERRITORY_TT = 216,  ///< tt Trinidad and Tobago
    TERRITORY_TV = 217,  ///< tv Tuvalu
    TERRITORY_TW = 218,  ///< tw Taiwan, Province of China
    TERRITORY_TZ = 219,  ///< tz Tanzania, United Republic of
    TERRITORY_UA = 220,  ///< ua Ukraine
    TERRITORY_UG = 221,  ///< ug Uganda
    TERRITORY_UM = 222,  ///< um United States Minor Outlying Islands
    TERRITORY_US = 223,  ///< us United States
    TERRITORY_UY = 224,  ///< uy Uruguay
    TERRITORY_UZ = 225,  ///< uz Uzbekistan
    TERRITORY_VA = 226,  ///< va Holy See (Vatican City State)
    TERRITORY_VC = 227,  ///< vc Saint Vincent and the Grenadines
    TERRITORY_VE = 228,  ///< ve Venezuela, Bolivarian Republic of
    TERRITORY_VG = 229,  ///< vg Virgin Islands, British
    TERRITORY_VI = 230,  ///< vi Virgin Islands, U.S.
    TERRITORY_VN = 231,  ///< vn Viet Nam
    TERRITORY_VU = 232,  ///< vu Vanuatu
    TERRITORY_WF = 233,  ///< wf Wallis and Futuna
    TERRITORY_WS = 234,  ///< ws Samoa
    TERRITORY_YE = 235,  ///< ye Yemen
    TERRITORY_YT = 236,  ///< yt Mayotte
    TERRITORY_YU = 237,  ///< yu Yugoslavia
    TERRITORY_ZA = 238,  ///< za South Africa
    TERRITORY_ZM = 239,  ///< zm Zambia
    TERRITORY_ZR = 240,  ///< zr Zaire
    TERRITORY_ZW = 241,  ///< zw Zimbabwe
    TERRITORY_INVALID = 242,  ///< one past the table: no such territory
    // END GENERATED TERRITORIES
    // clang-format on
  };

  /// The text that joins a language code and a territory code: "-".
  static const char* const cv_cpszCombiningCharString;

  /// Bytes that every extraction may write, NUL included: two letters, the
  /// combining character, three letters and the NUL, rounded up.
  static constexpr std::size_t cv_uiCodeBufferSize = 8;

  /// Parses a language tag (see `init`). Starts from the invalid
  /// language and territory.
  /// \param tag   "en", "en-us", "de_DE", "x-all" ...; not owned; may be null
  explicit KivClLanguage(const char* tag);

  /// Unpacks a number made by `asNumber()`: language = number >> 16,
  /// territory = number & 0xFFFF. Indices beyond the tables are kept as they
  /// are and count as invalid.
  explicit KivClLanguage(unsigned int number);

  /// Parses a language tag and replaces both indices:
  /// 1. "x-all" and "x-unspecified" (case ignored) give the unspecified
  ///    language and territory.
  /// 2. The territory is the code behind the first "-" (or, when there is no
  ///    "-", behind the first "_"); without a separator it is unspecified. An
  ///    unknown territory code gives TERRITORY_INVALID.
  /// 3. The language is the first two characters, when a third character
  ///    follows only as "-", "_" or the end; otherwise, or when the code is
  ///    unknown, it is LANGUAGE_INVALID ("eng" is invalid).
  /// Codes are compared without regard to (ASCII) case.
  /// \param tag   the language tag; not owned; null gives both invalid
  void init(const char* tag);

  /// The packed number (language << 16) | territory, each cut to 16 bits.
  unsigned int asNumber() const;

  /// The language index.
  KivEnLanguage getLanguage() const { return m_enLanguage; }
  /// The territory index.
  KivEnTerritory getTerritory() const { return m_enTerritory; }

  /// True when both the language and the territory are within their tables
  /// (the unspecified rows count as valid).
  bool isValid() const;

  /// Writes the language code, "-" and the territory short code, always:
  /// "en-us", "en-**" without a territory, "??-??" for invalid indices.
  /// \param buffer  at least cv_uiCodeBufferSize bytes; null writes nothing
  /// \return buffer
  char* extractShortCode(char* buffer) const;

  /// Writes the language code, "-" and the territory long code, always:
  /// "en-usa", "en-***" without a territory.
  /// \param buffer  at least cv_uiCodeBufferSize bytes; null writes nothing
  /// \return buffer
  char* extractLongCode(char* buffer) const;

  /// Writes the language code, followed by "-" and the territory short code
  /// only when the territory is neither unspecified (0) nor TERRITORY_INVALID
  /// (242): "en-us", or "en". Any other index beyond the table (from the
  /// number constructor) is written, as "??": "??-??" for 0xFFFFFFFF.
  /// \param buffer  at least cv_uiCodeBufferSize bytes; null writes nothing
  /// \return buffer
  char* extractISOShortCode(char* buffer) const;

  /// As `extractISOShortCode` with the territory long code: "en-usa", or "en".
  /// \param buffer  at least cv_uiCodeBufferSize bytes; null writes nothing
  /// \return buffer
  char* extractISOLongCode(char* buffer) const;

  /// Two-letter code of a language ("en", "**" for row 0); "??" for an index
  /// at or beyond the table (or negative).
  static const char* getLanguageCode(KivEnLanguage language);
  /// English name of a language ("English", "Unspecified" for row 0); "??"
  /// beyond the table.
  static const char* getLanguageName(KivEnLanguage language);
  /// Two-letter code of a territory ("us", "**" for row 0); "??" beyond the
  /// table.
  static const char* getTerritoryCodeShort(KivEnTerritory territory);
  /// Three-letter code of a territory ("usa", "***" for row 0); "??" beyond
  /// the table.
  static const char* getTerritoryCodeLong(KivEnTerritory territory);
  /// English name of a territory ("United States", "Unspecified" for row 0);
  /// "??" beyond the table.
  static const char* getTerritoryName(KivEnTerritory territory);
  /// ISO 3166 numeric id of a territory (840 for "us"; 0 for row 0 and for
  /// territories without a number); 0xFFFFFFFF beyond the table.
  static std::uint32_t getTerritoryIdNumber(KivEnTerritory territory);
  /// Rows of the language table: 143.
  static unsigned int getNumberOfLanguagesSupported();
  /// Rows of the territory table: 242.
  static unsigned int getNumberOfTerritoriesSupported();

  /// Same language index and same territory index.
  bool operator==(const KivClLanguage& other) const {
    return m_enLanguage == other.m_enLanguage && m_enTerritory == other.m_enTerritory;
  }
  /// Different language index or different territory index.
  bool operator!=(const KivClLanguage& other) const { return !(*this == other); }

 private:
  KivEnLanguage m_enLanguage;
  KivEnTerritory m_enTerritory;
};

/// Writes the language code, followed by "-" and the territory short code
/// when the territory is not unspecified ("en-us", "en", "**" for x-all);
/// writes "??" when the language or the territory is invalid.
KIV_EXPORT std::ostream& operator<<(std::ostream& stream, const KivClLanguage& language);

#endif
