set terminal pngcairo size 800,360 font 'Sans,10'
set xlabel 'constant c'
set ylabel 'quotients that differ, %'
set xrange [0:65]
set yrange [0:]
set xtics 8
set grid ytics
set boxwidth 0.7
set style fill solid 0.6 noborder
plot data with boxes linecolor '#4070a0' notitle
